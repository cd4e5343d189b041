#ifndef TLG_TESTS_SYSTEM_REFERENCEMODEL_H
#define TLG_TESTS_SYSTEM_REFERENCEMODEL_H

#include <map>
#include <set>
#include <string>
#include <vector>

/// What must be published after each packet of the MCU: the rules once more, in the plainest form. Settings are kept by
/// the bytes that they came in.
class ReferenceModel {
public:
    explicit ReferenceModel(int scheme) : m_scheme(scheme) {}

    /// Receives one packet: the header's command and payload length, and the payload that is there.
    void Receive(int command, int packetSize, const std::vector<int>& payload);
    /// The next system mute is the first one again.
    void FakePowerOff() { m_firstMute = true; }

    /// The attribute lines published so far, by the name of their object; a launch request is "req".
    const std::map<std::string, std::vector<std::string>>& Published() const { return m_published; }

    /// The last line of each attribute, by its name.
    std::map<std::string, std::string> Lines() const {
        std::map<std::string, std::string> lines;
        for (const auto& [object, published] : m_published) {
            for (const std::string& line : published) {
                lines[line.substr(0, line.find(':'))] = line;
            }
        }
        return lines;
    }

private:
    using Bytes = std::vector<int>;

    bool Record(const Bytes& p);
    bool VolumeAndFade(const Bytes& p);
    void Volumes(const Bytes& block);
    bool Equaliser(const Bytes& p);
    bool SourceGain(const Bytes& p);
    bool AudioSetting(const Bytes& p);
    bool Extended(const Bytes& p);
    void RaiseGroup(int group);
    void PublishRaised();
    void PublishVolume();
    void PublishSourceVolumes();
    std::string Members() const;
    std::string ValueOf(const std::string& group);
    std::string PublishedSources() const;
    std::string PublishedCurve(Bytes curve) const;

    /// Stores a group's value and raises its flag when it differs.
    void Set(const std::string& group, const Bytes& value);
    void Line(const std::string& name, const std::string& text, const std::string& object = "status") {
        m_published[object].push_back(name + ":" + text);
    }

    int m_scheme;
    bool m_firstMute = true;
    std::set<std::string> m_raised;
    // By the attribute's name after "zo", where it has no qualifier; before a report all is 0 but for these.
    std::map<std::string, Bytes> m_values{{"[n]zoaudiomix", {2}}, {"alc", {255}}};
    std::map<std::string, std::vector<std::string>> m_published;
    std::map<int, Bytes> m_curves; // of the EQ types, 15 bytes each; missing: all zero
    Bytes m_sources;               // id and gain of each source
    Bytes m_levels{0, 0, 0, 0};
    Bytes m_extended{0, 0, 0, 0};
    int m_max = 0;
    int m_maxPower = 0;
    int m_sysMute = 0;
    int m_srcMute = 0;
    int m_volType = 0;
    int m_extendedType = 4;
};

#endif
