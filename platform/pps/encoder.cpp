// The encoder: JSON text by RapidJSON's writer, and around it, in PPS mode, attribute lines.
#include <sys/pps.h>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace {

using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::UTF8<>,
                                     rapidjson::CrtAllocator, rapidjson::kWriteValidateEncodingFlag>;

enum class Scope { Object, Array };

/// The shortest text that reads back as the same double, always with a fraction or an exponent.
std::string DoubleText(double value) {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    std::string text(digits.data(), end);
    if (text.find_first_of(".e") == std::string::npos) {
        text += ".0";
    }
    return text;
}

bool IsOneLine(std::string_view text) {
    return text.find('\n') == std::string_view::npos;
}

} // namespace

struct pps_encoder_state {
    explicit pps_encoder_state(bool asJson) : encodeJson(asJson) {}

    const bool encodeJson;
    std::string text;             // finished lines, or the finished JSON text
    std::vector<Scope> scopes;    // what is open, outermost first
    rapidjson::StringBuffer json; // the JSON value under way
    JsonWriter writer{json};
    bool finished = false; // the outermost object has ended
    pps_encoder_error_t error = PPS_ENCODER_OK;

    pps_encoder_error_t Fail(pps_encoder_error_t reason) {
        if (error == PPS_ENCODER_OK) {
            error = reason;
        }
        return error;
    }

    /// True where scalars are attribute lines: directly in the outermost object of PPS mode.
    bool AtLineLevel() const { return !encodeJson && scopes.size() == 1; }

    /// Checks that a value of that name may stand here, and writes what comes before it.
    bool BeginValue(const char* name) {
        if (error != PPS_ENCODER_OK) {
            return false;
        }
        if (finished) {
            Fail(PPS_ENCODER_BAD_NESTING);
            return false;
        }
        const bool inObject = !scopes.empty() && scopes.back() == Scope::Object;
        if (inObject && name == nullptr) {
            Fail(PPS_ENCODER_MISSING_ATTRIBUTE_NAME);
            return false;
        }
        if (inObject && !AtLineLevel() && !writer.Key(name)) {
            Fail(PPS_ENCODER_INVALID_VALUE);
            return false;
        }
        return true;
    }

    pps_encoder_error_t AddLine(const char* name, const char* encoding, std::string_view value) {
        text.append(name).append(":").append(encoding).append(":").append(value).append("\n");
        return PPS_ENCODER_OK;
    }

    /// Adds a scalar: as a line, or with @p write as JSON.
    template <typename Write>
    pps_encoder_error_t AddScalar(const char* name, const char* encoding, std::string_view lineValue, Write write) {
        if (!BeginValue(name)) {
            return error;
        }
        if (scopes.empty()) {
            return Fail(PPS_ENCODER_BAD_NESTING);
        }
        if (AtLineLevel()) {
            return AddLine(name, encoding, lineValue);
        }
        return write() ? PPS_ENCODER_OK : Fail(PPS_ENCODER_INVALID_VALUE);
    }

    pps_encoder_error_t StartScope(const char* name, Scope scope) {
        if (!encodeJson && scopes.empty()) {
            return StartPpsObject(name, scope);
        }
        if (!BeginValue(name)) {
            return error;
        }
        if (AtLineLevel()) {
            text.append(name).append(":json:");
            json.Clear();
            writer.Reset(json);
        }
        scopes.push_back(scope);
        if (scope == Scope::Object) {
            writer.StartObject();
        } else {
            writer.StartArray();
        }
        return PPS_ENCODER_OK;
    }

    pps_encoder_error_t EndScope(Scope scope) {
        if (error != PPS_ENCODER_OK) {
            return error;
        }
        if (scopes.empty() || scopes.back() != scope) {
            return Fail(PPS_ENCODER_BAD_NESTING);
        }
        const bool isPpsObject = AtLineLevel();
        scopes.pop_back();
        if (!isPpsObject) {
            if (scope == Scope::Object) {
                writer.EndObject();
            } else {
                writer.EndArray();
            }
            if (AtLineLevel() || scopes.empty()) {
                text.append(json.GetString(), json.GetSize()).append(encodeJson ? "" : "\n");
            }
        }
        finished = scopes.empty();
        return PPS_ENCODER_OK;
    }

private:
    pps_encoder_error_t StartPpsObject(const char* name, Scope scope) {
        if (error != PPS_ENCODER_OK) {
            return error;
        }
        if (finished || scope != Scope::Object) {
            return Fail(PPS_ENCODER_BAD_NESTING);
        }
        if (name == nullptr) {
            return Fail(PPS_ENCODER_MISSING_ATTRIBUTE_NAME);
        }
        text.append(name[0] == '@' ? "" : "@").append(name).append("\n");
        scopes.push_back(scope);
        return PPS_ENCODER_OK;
    }
};

namespace {

/// Calls @p operation with the encoder's state. An encoder that found no memory has none.
template <typename Operation>
pps_encoder_error_t WithState(pps_encoder_t* encoder, Operation operation) {
    return encoder->state == nullptr ? PPS_ENCODER_NO_MEM : operation(*encoder->state);
}

} // namespace

void pps_encoder_initialize(pps_encoder_t* encoder, bool encodeJSON) {
    encoder->state = new (std::nothrow) pps_encoder_state(encodeJSON);
}

pps_encoder_error_t pps_encoder_start_object(pps_encoder_t* encoder, const char* name) {
    return WithState(encoder, [name](pps_encoder_state& state) { return state.StartScope(name, Scope::Object); });
}

pps_encoder_error_t pps_encoder_end_object(pps_encoder_t* encoder) {
    return WithState(encoder, [](pps_encoder_state& state) { return state.EndScope(Scope::Object); });
}

pps_encoder_error_t pps_encoder_start_array(pps_encoder_t* encoder, const char* name) {
    return WithState(encoder, [name](pps_encoder_state& state) { return state.StartScope(name, Scope::Array); });
}

pps_encoder_error_t pps_encoder_end_array(pps_encoder_t* encoder) {
    return WithState(encoder, [](pps_encoder_state& state) { return state.EndScope(Scope::Array); });
}

pps_encoder_error_t pps_encoder_add_int(pps_encoder_t* encoder, const char* name, int value) {
    return WithState(encoder, [name, value](pps_encoder_state& state) {
        return state.AddScalar(name, "n", std::to_string(value), [&] { return state.writer.Int(value); });
    });
}

pps_encoder_error_t pps_encoder_add_double(pps_encoder_t* encoder, const char* name, double value) {
    return WithState(encoder, [name, value](pps_encoder_state& state) {
        if (!std::isfinite(value)) {
            return state.Fail(PPS_ENCODER_INVALID_VALUE);
        }
        const std::string text = DoubleText(value);
        return state.AddScalar(name, "n", text,
                               [&] { return state.writer.RawValue(text.data(), text.size(), rapidjson::kNumberType); });
    });
}

pps_encoder_error_t pps_encoder_add_bool(pps_encoder_t* encoder, const char* name, bool value) {
    return WithState(encoder, [name, value](pps_encoder_state& state) {
        return state.AddScalar(name, "b", value ? "true" : "false", [&] { return state.writer.Bool(value); });
    });
}

pps_encoder_error_t pps_encoder_add_string(pps_encoder_t* encoder, const char* name, const char* value) {
    return WithState(encoder, [name, value](pps_encoder_state& state) {
        if (value == nullptr) {
            return state.Fail(PPS_ENCODER_INVALID_VALUE);
        }
        if (state.AtLineLevel() && !IsOneLine(value)) {
            rapidjson::StringBuffer quoted;
            JsonWriter writer(quoted);
            return writer.String(value) ? state.AddScalar(name, "json", quoted.GetString(), [] { return true; })
                                        : state.Fail(PPS_ENCODER_INVALID_VALUE);
        }
        return state.AddScalar(name, "", value, [&] { return state.writer.String(value); });
    });
}

const char* pps_encoder_buffer(pps_encoder_t* encoder) {
    const pps_encoder_state* state = encoder->state;
    return state != nullptr && state->error == PPS_ENCODER_OK && state->finished ? state->text.c_str() : nullptr;
}

int pps_encoder_length(pps_encoder_t* encoder) {
    return pps_encoder_buffer(encoder) == nullptr ? 0 : static_cast<int>(encoder->state->text.size());
}

void pps_encoder_cleanup(pps_encoder_t* encoder) {
    delete encoder->state;
    encoder->state = nullptr;
}
