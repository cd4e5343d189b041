#ifndef TLG_STATUS_STRUCTUREDWRITE_H
#define TLG_STATUS_STRUCTUREDWRITE_H

#include <sys/pps.h>

#include "framework/PPSFileBase.h"

/// Builds attributes whose values are JSON objects, to go out in one write. It owns an encoder in PPS mode
/// and releases it at the end; what is abandoned is not written. Names and texts are not kept.
class StructuredWrite {
public:
    /// @param object the object's name with "@"
    explicit StructuredWrite(const char* object) {
        pps_encoder_initialize(&m_encoder, false);
        pps_encoder_start_object(&m_encoder, object);
    }
    ~StructuredWrite() { pps_encoder_cleanup(&m_encoder); }
    StructuredWrite(const StructuredWrite&) = delete;
    StructuredWrite& operator=(const StructuredWrite&) = delete;

    StructuredWrite& StartAttribute(const char* attribute) {
        pps_encoder_start_object(&m_encoder, attribute);
        return *this;
    }
    StructuredWrite& EndAttribute() {
        pps_encoder_end_object(&m_encoder);
        return *this;
    }

    StructuredWrite& Add(const char* member, int value) {
        pps_encoder_add_int(&m_encoder, member, value);
        return *this;
    }
    StructuredWrite& Add(const char* member, const char* text) {
        pps_encoder_add_string(&m_encoder, member, text);
        return *this;
    }

    /// Adds an array: @p elementOf(i) is its element i, for i from 0 to @p count - 1.
    template <typename ElementOf>
    StructuredWrite& AddArray(const char* member, int count, ElementOf elementOf) {
        pps_encoder_start_array(&m_encoder, member);
        for (int i = 0; i < count; ++i) {
            AddElement(elementOf(i));
        }
        pps_encoder_end_array(&m_encoder);
        return *this;
    }

    /// Writes what was built; the write's result, or true without a write where the encoder failed.
    bool WriteTo(const TLG::ZOCAR::PPSFileBase& file) {
        pps_encoder_end_object(&m_encoder);
        const char* buffer = pps_encoder_buffer(&m_encoder);
        return buffer == nullptr || file.WritePPS(buffer, pps_encoder_length(&m_encoder));
    }

private:
    void AddElement(int value) { pps_encoder_add_int(&m_encoder, nullptr, value); }
    void AddElement(double value) { pps_encoder_add_double(&m_encoder, nullptr, value); }
    void AddElement(const char* text) { pps_encoder_add_string(&m_encoder, nullptr, text); }

    pps_encoder_t m_encoder{};
};

#endif
