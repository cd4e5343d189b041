// The decoder on RapidJSON. Parsing is in situ and iterative: strings point into the caller's text,
// and nesting costs heap instead of stack.
#include <sys/pps.h>

#include <rapidjson/document.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <new>
#include <vector>

#include "platform/pps/JsonText.h"

namespace {

using rapidjson::SizeType;
using rapidjson::Value;

// Tree converts numbers and checks the encoding before the parser runs, because the parser does neither well. Its
// conversion is inexact or, with full precision, reads outside its table. Its check of the encoding reads past a text
// that ends within a character.
constexpr unsigned kParseFlags = rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag;

using Memory = rapidjson::MemoryPoolAllocator<>;
using Document = rapidjson::GenericDocument<rapidjson::UTF8<>, Memory, Memory>;

/// The memory of a tree's values and of the parser's stacks. What most texts need is at hand; beyond it grows in steps.
struct Pool {
    static constexpr std::size_t kAtHand = 3072;
    static constexpr std::size_t kStep = 4096;
    alignas(std::max_align_t) std::array<char, kAtHand> atHand;
    Memory memory{atHand.data(), atHand.size(), kStep};
};

/// The parsed text.
///
/// The parser refuses numbers that are well within a double's range but written with many digits or a large
/// exponent. So each number is converted beforehand, and the parser finds a 0 in its place. For each such 0 the next
/// converted number is stored.
class Tree : private Pool, public Document {
public:
    Tree() : Document(&memory, kStack, &memory) {}

    /// False where the text is not JSON; then the tree is empty.
    bool Parse(char* text) {
        SetNull();
        memory.Clear();
        std::vector<pps::JsonNumber> numbers;
        numbers.reserve(kUsualNumbers);
        if (!pps::ConvertNumbers(text, numbers)) {
            return false;
        }
        m_next = numbers.data();
        rapidjson::GenericReader<rapidjson::UTF8<>, rapidjson::UTF8<>, Memory> reader(&memory, kStack);
        rapidjson::InsituStringStream stream(text);
        const auto build = [&](Document&) { return !reader.Parse<kParseFlags>(stream, *this).IsError(); };
        Populate(build);
        return !reader.HasParseError();
    }

    /// Called by the parser for the 0 in a number's place.
    bool Uint(unsigned /*zero*/) {
        const pps::JsonNumber& number = *m_next++;
        return number.isInteger ? Int(static_cast<int>(number.value)) : Double(number.value);
    }

private:
    static constexpr std::size_t kUsualNumbers = 32;
    static constexpr std::size_t kStack = 512;

    const pps::JsonNumber* m_next = nullptr; // the first number of the text that is not stored yet
};

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
    Tree document;
    bool parsed = false;
    bool rootRead = false;           // whether the position is after the root
    std::vector<Frame> frames;       // what was entered, innermost last
    std::vector<bool> pushSucceeded; // for each push without its pop
    pps_decoder_error_t error = PPS_DECODER_OK;

    pps_decoder_error_t Fail(pps_decoder_error_t reason) {
        if (error == PPS_DECODER_OK) {
            error = reason;
        }
        return reason;
    }

    /// The element of that name, or, without a name, the current one; null where there is none. @p index receives
    /// its place among its siblings.
    const Value* Find(const char* name, SizeType& index) const {
        index = 0;
        if (frames.empty()) {
            return parsed && !rootRead && name == nullptr ? &document : nullptr;
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

    void MoveAfter(SizeType index) {
        if (frames.empty()) {
            rootRead = true;
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

/// Reads one element with @p readValue(element), which returns false when the type is wrong.
template <typename ReadValue>
pps_decoder_error_t Get(pps_decoder_t* decoder, const char* name, ReadValue readValue) {
    pps_decoder_state* state = decoder->state;
    if (state == nullptr) {
        return PPS_DECODER_NO_MEM;
    }
    SizeType index = 0;
    const Value* value = state->Find(name, index);
    if (value == nullptr) {
        return state->Fail(PPS_DECODER_NOT_FOUND);
    }
    if (!readValue(*value)) {
        return state->Fail(PPS_DECODER_BAD_TYPE);
    }
    state->MoveAfter(index);
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
    state->rootRead = false;
    state->parsed = false;
    try {
        state->parsed = state->document.Parse(text);
    } catch (const std::bad_alloc&) {
        return state->Fail(PPS_DECODER_NO_MEM);
    }
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
    state->MoveAfter(index);
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
        // A number outside the range of doubles is valid JSON, but there is no value to return.
        if (!element.IsNumber() || std::isinf(element.GetDouble())) {
            return false;
        }
        *value = element.GetDouble();
        return true;
    });
}

pps_decoder_error_t pps_decoder_get_string(pps_decoder_t* decoder, const char* name, const char** value) {
    return Get(decoder, name, [value](const Value& element) {
        // The caller would see a string with an escaped zero cut off.
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
