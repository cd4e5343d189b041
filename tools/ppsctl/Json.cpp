#include "tools/ppsctl/Json.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <map>
#include <vector>

#include "platform/pps/Line.h"

namespace ppsctl {

namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void Text(Writer& json, std::string_view text) {
    json.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

const char* EventOf(pps::LineKind kind) {
    switch (kind) {
    case pps::LineKind::Created:
        return "created";
    case pps::LineKind::Deleted:
        return "deleted";
    case pps::LineKind::Truncated:
        return "truncated";
    case pps::LineKind::Overflowed:
        return "overflowed";
    default:
        return nullptr;
    }
}

void Attribute(Writer& json, const pps::Line& line) {
    Text(json, line.name);
    json.StartObject();
    json.Key("encoding");
    Text(json, line.encoding);
    json.Key("value");
    Text(json, line.value);
    json.Key("options");
    json.StartArray();
    if (line.persistence == pps::Persistence::NotKept) {
        json.String("n");
    }
    json.EndArray();
    json.EndObject();
}

/// What a text says, with views into it.
struct Change {
    std::vector<std::string_view> order; // of the attributes; the last line of a name counts
    std::map<std::string_view, pps::Line> attributes;
    std::vector<std::string_view> deleted;
    const char* event = nullptr;
};

Change ChangeOf(std::string_view text) {
    Change change;
    while (!text.empty()) {
        const std::optional<pps::Line> line = pps::ParseLine(pps::NextLine(text));
        if (!line) {
            continue;
        }
        if (line->kind == pps::LineKind::Attribute) {
            if (change.attributes.insert_or_assign(line->name, *line).second) {
                change.order.push_back(line->name);
            }
        } else if (line->kind == pps::LineKind::AttributeDeleted) {
            change.deleted.push_back(line->name);
        } else if (const char* const word = EventOf(line->kind)) {
            change.event = word;
        }
    }
    return change;
}

} // namespace

std::string JsonOf(const std::string& path, std::string_view text, const std::string& time) {
    Change change = ChangeOf(text);
    rapidjson::StringBuffer buffer;
    Writer json(buffer);
    json.StartObject();
    if (!time.empty()) {
        json.Key("time");
        json.RawValue(time.data(), time.size(), rapidjson::kNumberType);
    }
    json.Key("object");
    json.String(path.c_str());
    json.Key("attributes");
    json.StartObject();
    for (const std::string_view name : change.order) {
        Attribute(json, change.attributes[name]);
    }
    json.EndObject();
    if (!change.deleted.empty()) {
        json.Key("deleted");
        json.StartArray();
        for (const std::string_view name : change.deleted) {
            Text(json, name);
        }
        json.EndArray();
    }
    if (change.event != nullptr) {
        json.Key("event");
        json.String(change.event);
    }
    json.EndObject();
    return buffer.GetString();
}

} // namespace ppsctl
