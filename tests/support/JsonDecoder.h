#ifndef TLG_TESTS_SUPPORT_JSONDECODER_H
#define TLG_TESTS_SUPPORT_JSONDECODER_H

#include <sys/pps.h>

#include <optional>
#include <string>
#include <vector>

/// A decoder over a text of its own, in a block of just its size.
class JsonDecoder {
public:
    explicit JsonDecoder(const std::string& text) {
        pps_decoder_initialize(&m_decoder, nullptr);
        Parse(text);
    }
    ~JsonDecoder() { pps_decoder_cleanup(&m_decoder); }
    JsonDecoder(const JsonDecoder&) = delete;
    JsonDecoder& operator=(const JsonDecoder&) = delete;

    void Parse(const std::string& text) {
        m_text.assign(text.c_str(), text.c_str() + text.size() + 1);
        m_text.shrink_to_fit();
        m_isParsed = pps_decoder_parse_json_str(&m_decoder, m_text.data()) == PPS_DECODER_OK;
    }
    bool IsParsed() const { return m_isParsed; }

    pps_decoder_t* Get() { return &m_decoder; }
    pps_node_type_t Type() { return pps_decoder_type(&m_decoder, nullptr); }
    bool Push(const char* name = nullptr) { return pps_decoder_push(&m_decoder, name) == PPS_DECODER_OK; }
    bool Pop() { return pps_decoder_pop(&m_decoder) == PPS_DECODER_OK; }

    /// The element of that name, or the current one; nothing where it can't be read.
    std::optional<int> Int(const char* name = nullptr) { return Read(pps_decoder_get_int, name, -1); }
    std::optional<double> Double(const char* name = nullptr) { return Read(pps_decoder_get_double, name, -1.0); }
    std::optional<std::string> String(const char* name = nullptr) {
        return Read(pps_decoder_get_string, name, static_cast<const char*>(nullptr));
    }

private:
    /// What fails must leave the value as it was.
    template <typename Value>
    std::optional<Value> Read(pps_decoder_error_t get(pps_decoder_t*, const char*, Value*), const char* name,
                              Value value) {
        const Value before = value;
        return get(&m_decoder, name, &value) == PPS_DECODER_OK || value != before ? std::optional(value) : std::nullopt;
    }

    std::vector<char> m_text;
    pps_decoder_t m_decoder{};
    bool m_isParsed = false;
};

#endif
