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

    /// Stores a group's value and raises its flag when it differs.
    void Set(const std::string& group, const Bytes& value);
    const Bytes& Get(const std::string& group) { return m_values[group]; }
    void Line(const std::string& name, const std::string& text) { m_lines[name] = name + ":" + text; }

    int m_scheme;
    int m_launches = 0;
    bool m_firstMute = true;
    std::set<std::string> m_raised;
    std::map<std::string, Bytes> m_values{
        {"mix", {2}},       {"alc", {255}},   {"ic", {0}},       {"fade", {0, 0, 0, 0}}, {"subw", {0}},
        {"center", {0}},    {"loud", {0}},    {"listen", {0}},   {"srs", {0}},           {"dbb", {0}},
        {"sub", {0, 0, 0}}, {"mode", {0, 0}}, {"front", {0, 0}}, {"rear", {0, 0}},       {"eqtype", {0}}};
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
