#ifndef TLG_TOOLS_EQCTL_PUBLISHED_H
#define TLG_TOOLS_EQCTL_PUBLISHED_H

#include <rapidjson/document.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "platform/posix/UniqueFd.h"

namespace eqctl {

/// What the service publishes, kept up to date as it changes.
class Published {
public:
    /// Opens the objects and reads their present state. False, with the reason in @p error, where they can't be had.
    bool Open(std::string& error);

    /// Waits for a change, or until @p stopFd is readable (-1: none); the names of the attributes that were published.
    /// Empty after the time, and, with the reason in @p error, where the server has ended.
    std::vector<std::string> WaitForChange(std::chrono::milliseconds limit, int stopFd, std::string& error);

    /// The value of an attribute: a JSON value, or text or a number as one. Null where it is not published.
    const rapidjson::Value& Get(const std::string& attribute) const;

    /// A number of a JSON value, or of one of its arrays; -1 where there is none.
    int Number(const std::string& attribute, const char* member, int index = -1) const;
    /// A text of a JSON value; empty where there is none.
    std::string Text(const std::string& attribute, const char* member) const;

private:
    void Take(std::string_view text, std::vector<std::string>& names);

    std::vector<UniqueFd> m_objects;
    std::map<std::string, rapidjson::Document> m_values; // by attribute
};

/// A JSON value for people: members as "name=value", elements with commas between them.
std::string Plain(const rapidjson::Value& value);

} // namespace eqctl

#endif
