#ifndef TLG_TESTS_SYSTEM_REFERENCEMODEL_H
#define TLG_TESTS_SYSTEM_REFERENCEMODEL_H

#include <map>
#include <set>
#include <string>
#include <vector>

/// What the published objects must hold after a series of packets from the MCU: the rules once more, in the
/// plainest form. Settings are kept by the bytes that they came in; what changed is published whole.
class ReferenceModel {
public:
    explicit ReferenceModel(int scheme) : m_scheme(scheme) {}

    /// Takes one packet: the header's command and payload length, and the payload that is there.
    void Take(int command, int packetSize, const std::vector<int>& payload);

    /// The attribute lines by name, of all objects together; the number of launch requests.
    const std::map<std::string, std::string>& Lines() const { return m_lines; }
    int Launches() const { return m_launches; }

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
    void PublishVolumes();
    std::string Published(const std::string& group);
    std::string PublishedSources() const;
    std::string PublishedCurve(Bytes curve) const;

    /// Stores a group's value and raises its flag when it differs.
    void Set(const std::string& group, const Bytes& value);
    void Line(const std::string& name, const std::string& text) { m_lines[name] = name + ":" + text; }

    int m_scheme;
    int m_launches = 0;
    bool m_firstMute = true;
    std::set<std::string> m_raised;
    // By the attribute's name behind "zo", where it has no qualifier.
    std::map<std::string, Bytes> m_values{{"[n]zoaudiomix", {2}},
                                          {"alc", {255}},
                                          {"audio", {0}},
                                          {"fade_balance", {0, 0, 0, 0}},
                                          {"subwoofer_gain", {0}},
                                          {"center_gain", {0}},
                                          {"loud", {0}},
                                          {"listen_pos", {0}},
                                          {"srs", {0}},
                                          {"dbb", {0}},
                                          {"eq_type", {0}},
                                          {"subwoofer", {0, 0, 0}},
                                          {"speaker_mode", {0, 0}},
                                          {"front_stereo_filter", {0, 0}},
                                          {"rear_stereo_filter", {0, 0}}};
    std::map<std::string, std::string> m_lines;
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
