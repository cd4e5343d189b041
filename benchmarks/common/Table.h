// Results as rows of a table, which are printed at once and kept as JSON.
#ifndef TLG_BENCHMARKS_COMMON_TABLE_H
#define TLG_BENCHMARKS_COMMON_TABLE_H

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <cstdio>
#include <string>

namespace bench {

using Json = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

/// A row; printed when it is complete.
class Row {
public:
    explicit Row(Json& json) : m_json(json) { m_json.StartObject(); }
    ~Row() {
        std::puts((m_text + "|").c_str());
        std::fflush(stdout);
        m_json.EndObject();
    }
    Row(const Row&) = delete;
    Row& operator=(const Row&) = delete;

    void Text(const char* name, const std::string& value) {
        m_json.Key(name);
        m_json.String(value.c_str());
        m_text += "| " + value + " ";
    }
    void Number(const char* name, double value, int digits) {
        m_json.Key(name);
        m_json.Double(value);
        char text[40];
        std::snprintf(text, sizeof text, "| %.*f ", digits, value);
        m_text += text;
    }

private:
    Json& m_json;
    std::string m_text;
};

/// A table: its rows are an array of that name. The JSON's object must be open.
class Table {
public:
    /// @param columns as they are printed: "| one | two |"
    Table(Json& json, const char* name, const std::string& columns) : m_json(json) {
        std::string line = "|";
        for (std::size_t i = 1; i < columns.size(); ++i) {
            line += columns[i] == '|' ? "---|" : "";
        }
        std::printf("\n%s\n%s\n", columns.c_str(), line.c_str());
        m_json.Key(name);
        m_json.StartArray();
    }
    ~Table() { m_json.EndArray(); }
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

private:
    Json& m_json;
};

} // namespace bench

#endif
