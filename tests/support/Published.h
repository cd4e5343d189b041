#ifndef TLG_TESTS_SUPPORT_PUBLISHED_H
#define TLG_TESTS_SUPPORT_PUBLISHED_H

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/PpsObjectClient.h"

/// The attribute lines, by name, of all objects that the service publishes settings in.
inline std::map<std::string, std::string> PublishedLines() {
    std::map<std::string, std::string> lines;
    for (const char* object : {"/pps/tolvyn/eq/status", "/pps/tolvyn/eq/settings", "/pps/tolvyn/system/dev_status",
                               "/pps/tolvyn/navigation/gps_status"}) {
        std::istringstream text(StateOf(object));
        for (std::string line; std::getline(text, line);) {
            if (!line.empty() && line[0] != '@') {
                lines[line.substr(0, line.find(':'))] = line;
            }
        }
    }
    return lines;
}

/// The payload that the simulator prints in hexadecimal at the end of a packet's line.
inline std::vector<int> PayloadIn(const std::string& line) {
    std::istringstream hex(line.substr(line.rfind('[') + 1));
    hex >> std::hex;
    std::vector<int> payload;
    for (int byte = 0; hex >> byte;) {
        payload.push_back(byte);
    }
    return payload;
}

#endif
