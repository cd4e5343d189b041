// The decoder on RapidJSON. Parsing is in situ and iterative: strings point into the caller's text,
// and nesting costs heap instead of stack.
#include <sys/pps.h>

#include <rapidjson/document.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>
#include <vector>

namespace {

using rapidjson::SizeType;
using rapidjson::Value;

// Without full precision, whose code reads outside its table for numbers such as 1.111111111111111111111111e-349,
// and without the validation of the encoding, which reads behind a text that ends within a character. Numbers of
// up to 15 digits, and with them all quality factors, are exact all the same.
constexpr unsigned kParseFlags = rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag;

/// Whether the text is UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF.
bool IsUtf8(const char* text) {
    struct Form {
        unsigned char first, last;             // range of the leading byte
        unsigned char secondFirst, secondLast; // range of the byte behind it
        int following;                         // bytes behind the leading byte
    };
    static constexpr Form kForms[] = {
        {0x01, 0x7F, 0x00, 0x00, 0}, {0xC2, 0xDF, 0x80, 0xBF, 1}, {0xE0, 0xE0, 0xA0, 0xBF, 2},
        {0xE1, 0xEC, 0x80, 0xBF, 2}, {0xED, 0xED, 0x80, 0x9F, 2}, {0xEE, 0xEF, 0x80, 0xBF, 2},
        {0xF0, 0xF0, 0x90, 0xBF, 3}, {0xF1, 0xF3, 0x80, 0xBF, 3}, {0xF4, 0xF4, 0x80, 0x8F, 3}};
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    while (*bytes != 0) {
        const auto* form = std::find_if(std::begin(kForms), std::end(kForms), [bytes](const Form& each) {
            return *bytes >= each.first && *bytes <= each.last;
        });
        if (form == std::end(kForms)) {
            return false;
        }
        ++bytes;
        for (int i = 0; i < form->following; ++i, ++bytes) {
            const bool isSecond = i == 0;
            if (*bytes < (isSecond ? form->secondFirst : 0x80) || *bytes > (isSecond ? form->secondLast : 0xBF)) {
                return false;
            }
        }
    }
    return true;
}

/// An object or array that was entered, and which of its elements is the current one.
struct Frame {
    const Value* container;
    SizeType current;
};

bool IsContainer(const Value& value) {
    return value.IsObject() || value.IsArray();
}

SizeType Count(const Value& container) {
    return container.IsObject() ? container.MemberCount() : container.Size();
}

pps_node_type_t TypeOf(const Value& value) {
    switch (value.GetType()) {
    case rapidjson::kNullType:
        return PPS_TYPE_NULL;
    case rapidjson::kFalseType:
    case rapidjson::kTrueType:
        return PPS_TYPE_BOOL;
    case rapidjson::kObjectType:
        return PPS_TYPE_OBJECT;
    case rapidjson::kArrayType:
        return PPS_TYPE_ARRAY;
    case rapidjson::kStringType:
        return PPS_TYPE_STRING;
    case rapidjson::kNumberType:
        return PPS_TYPE_NUMBER;
    }
    return PPS_TYPE_NONE;
}

} // namespace

struct pps_decoder_state {
    rapidjson::Document document;
    bool parsed = false;
    bool rootTaken = false;          // whether the position is behind the root
    std::vector<Frame> frames;       // what was entered, innermost last
    std::vector<bool> pushSucceeded; // for each push without its pop
    pps_decoder_error_t error = PPS_DECODER_OK;

    pps_decoder_error_t Fail(pps_decoder_error_t reason) {
        if (error == PPS_DECODER_OK) {
            error = reason;
        }
        return reason;
    }

    /// The element of that name, or the current one; null where there is none. @p index receives its
    /// place among its siblings.
    const Value* Find(const char* name, SizeType& index) const {
        index = 0;
        if (frames.empty()) {
            return parsed && !rootTaken && name == nullptr ? &document : nullptr;
        }
        const Frame& frame = frames.back();
        if (name != nullptr) {
            return frame.container->IsObject() ? FindMember(*frame.container, name, index) : nullptr;
        }
        index = frame.current;
        if (index >= Count(*frame.container)) {
            return nullptr;
        }
        return frame.container->IsObject() ? &(frame.container->MemberBegin() + index)->value
                                           : &(*frame.container)[index];
    }

    void MoveBehind(SizeType index) {
        if (frames.empty()) {
            rootTaken = true;
        } else {
            frames.back().current = index + 1;
        }
    }

private:
    /// Of several members with one name the first counts.
    static const Value* FindMember(const Value& object, const char* name, SizeType& index) {
        const std::size_t length = std::strlen(name);
        for (auto member = object.MemberBegin(); member != object.MemberEnd(); ++member, ++index) {
            if (member->name.GetStringLength() == length && std::memcmp(member->name.GetString(), name, length) == 0) {
                return &member->value;
            }
        }
        return nullptr;
    }
};

namespace {

/// Reads one element: @p take returns false when the element's type is wrong.
template <typename Take>
pps_decoder_error_t Get(pps_decoder_t* decoder, const char* name, Take take) {
    pps_decoder_state* state = decoder->state;
    if (state == nullptr) {
        return PPS_DECODER_NO_MEM;
    }
    SizeType index = 0;
    const Value* value = state->Find(name, index);
    if (value == nullptr) {
        return state->Fail(PPS_DECODER_NOT_FOUND);
    }
    if (!take(*value)) {
        return state->Fail(PPS_DECODER_BAD_TYPE);
    }
    state->MoveBehind(index);
    return PPS_DECODER_OK;
}

} // namespace

pps_decoder_error_t pps_decoder_initialize(pps_decoder_t* decoder, char* text) {
    decoder->state = new (std::nothrow) pps_decoder_state;
    if (decoder->state == nullptr) {
        return PPS_DECODER_NO_MEM;
    }
    return text == nullptr ? PPS_DECODER_OK : pps_decoder_parse_json_str(decoder, text);
}

pps_decoder_error_t pps_decoder_parse_json_str(pps_decoder_t* decoder, char* text) {
    pps_decoder_state* state = decoder->state;
    if (state == nullptr) {
        return PPS_DECODER_NO_MEM;
    }
    state->frames.clear();
    state->pushSucceeded.clear();
    state->rootTaken = false;
    state->parsed = IsUtf8(text) && !state->document.ParseInsitu<kParseFlags>(text).HasParseError();
    return state->parsed ? PPS_DECODER_OK : state->Fail(PPS_DECODER_PARSE_ERROR);
}

pps_decoder_error_t pps_decoder_push(pps_decoder_t* decoder, const char* name) {
    pps_decoder_state* state = decoder->state;
    if (state == nullptr) {
        return PPS_DECODER_NO_MEM;
    }
    SizeType index = 0;
    const Value* value = state->Find(name, index);
    const bool enters = value != nullptr && IsContainer(*value);
    state->pushSucceeded.push_back(enters);
    if (!enters) {
        return state->Fail(value == nullptr ? PPS_DECODER_NOT_FOUND : PPS_DECODER_BAD_TYPE);
    }
    state->MoveBehind(index);
    state->frames.push_back({value, 0});
    return PPS_DECODER_OK;
}

pps_decoder_error_t pps_decoder_pop(pps_decoder_t* decoder) {
    pps_decoder_state* state = decoder->state;
    if (state == nullptr) {
        return PPS_DECODER_NO_MEM;
    }
    if (state->pushSucceeded.empty()) {
        return state->Fail(PPS_DECODER_NOT_FOUND);
    }
    if (state->pushSucceeded.back()) {
        state->frames.pop_back();
    }
    state->pushSucceeded.pop_back();
    return PPS_DECODER_OK;
}

pps_decoder_error_t pps_decoder_get_int(pps_decoder_t* decoder, const char* name, int* value) {
    return Get(decoder, name, [value](const Value& element) {
        if (!element.IsInt()) {
            return false;
        }
        *value = element.GetInt();
        return true;
    });
}

pps_decoder_error_t pps_decoder_get_double(pps_decoder_t* decoder, const char* name, double* value) {
    return Get(decoder, name, [value](const Value& element) {
        if (!element.IsNumber()) {
            return false;
        }
        *value = element.GetDouble();
        return true;
    });
}

pps_decoder_error_t pps_decoder_get_string(pps_decoder_t* decoder, const char* name, const char** value) {
    return Get(decoder, name, [value](const Value& element) {
        // A string with an escaped zero would reach the caller cut off.
        if (!element.IsString() || std::strlen(element.GetString()) != element.GetStringLength()) {
            return false;
        }
        *value = element.GetString();
        return true;
    });
}

pps_node_type_t pps_decoder_type(pps_decoder_t* decoder, const char* name) {
    SizeType index = 0;
    const Value* value = decoder->state == nullptr ? nullptr : decoder->state->Find(name, index);
    return value == nullptr ? PPS_TYPE_NONE : TypeOf(*value);
}

int pps_decoder_length(pps_decoder_t* decoder) {
    const pps_decoder_state* state = decoder->state;
    return state == nullptr || state->frames.empty() ? 0 : static_cast<int>(Count(*state->frames.back().container));
}

pps_decoder_error_t pps_decoder_status(pps_decoder_t* decoder, bool clear) {
    pps_decoder_state* state = decoder->state;
    if (state == nullptr) {
        return PPS_DECODER_NO_MEM;
    }
    const pps_decoder_error_t error = state->error;
    if (clear) {
        state->error = PPS_DECODER_OK;
    }
    return error;
}

void pps_decoder_cleanup(pps_decoder_t* decoder) {
    delete decoder->state;
    decoder->state = nullptr;
}
