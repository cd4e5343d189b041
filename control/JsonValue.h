#ifndef TLG_CONTROL_JSONVALUE_H
#define TLG_CONTROL_JSONVALUE_H

#include <sys/pps.h>

#include <string>

/// The JSON value of one control attribute: decodes it in place and releases the decoder at the end.
/// Reads are not tested one by one; Check() tells of the first that failed. Strings point into the value
/// text and outlive the decoder.
class JsonValue {
public:
    /// @param function name of the handler in whose name failures are logged
    explicit JsonValue(const char* function) : m_function(function) { pps_decoder_initialize(&m_decoder, nullptr); }
    ~JsonValue() { pps_decoder_cleanup(&m_decoder); }
    JsonValue(const JsonValue&) = delete;
    JsonValue& operator=(const JsonValue&) = delete;

    /// Parses the text and enters the top-level object; false, logged, where that fails.
    bool Enter(char* text);

    // Reads leave the output as it is where the element is missing or of another type.
    void Get(const std::string& key, int& value) { pps_decoder_get_int(&m_decoder, key.c_str(), &value); }
    void Get(const std::string& key, const char*& value) { pps_decoder_get_string(&m_decoder, key.c_str(), &value); }

    /// Enters an array and returns its length. What is missing or no array has the length 0, and
    /// fails Check().
    int EnterArray(const std::string& key);
    void GetNext(int& value) { pps_decoder_get_int(&m_decoder, nullptr, &value); }
    void GetNext(double& value) { pps_decoder_get_double(&m_decoder, nullptr, &value); }
    void GetNext(const char*& value) { pps_decoder_get_string(&m_decoder, nullptr, &value); }
    void LeaveArray();

    /// True when every read so far succeeded; otherwise logs @p message.
    bool Check(const char* message);

private:
    const char* m_function;
    pps_decoder_t m_decoder{};
    bool m_isInArray = false;
    bool m_missesArray = false; // what should have been an array was none
};

#endif
