#ifndef TLG_BENCHMARKS_PEERS_VALUESTEXT_H
#define TLG_BENCHMARKS_PEERS_VALUESTEXT_H

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <string>
#include <string_view>

#include "benchmarks/peers/Broker.h"

namespace peers {

/// Values as a JSON array.
inline std::string TextOf(const Values& values) {
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    writer.StartArray();
    for (const int value : values) {
        writer.Int(value);
    }
    writer.EndArray();
    return {text.GetString(), text.GetSize()};
}

/// The values of a JSON array; none where it is something else.
inline Values ValuesIn(std::string_view text) {
    rapidjson::Document array;
    array.Parse(text.data(), text.size());
    Values values;
    if (!array.HasParseError() && array.IsArray()) {
        for (const auto& value : array.GetArray()) {
            values.push_back(value.IsInt() ? value.GetInt() : 0);
        }
    }
    return values;
}

} // namespace peers

#endif
