#ifndef TLG_TESTS_SUPPORT_CASES_H
#define TLG_TESTS_SUPPORT_CASES_H

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

/// The columns of a case, between tabs or " => ", with the escapes \n, \t and \xNN in them resolved. Other backslashes
/// stand for themselves.
inline std::vector<std::string> ColumnsOf(const std::string& line) {
    std::vector<std::string> columns{""};
    for (std::size_t at = 0; at < line.size(); ++at) {
        if (line[at] == '\t' || line.compare(at, 4, " => ") == 0) {
            at += line[at] == '\t' ? 0 : 3;
            columns.emplace_back();
        } else if (line.compare(at, 2, "\\n") == 0 || line.compare(at, 2, "\\t") == 0) {
            columns.back() += line[++at] == 'n' ? '\n' : '\t';
        } else if (line.compare(at, 2, "\\x") == 0) {
            columns.back() += static_cast<char>(std::stoi(line.substr(at + 2, 2), nullptr, 16));
            at += 3;
        } else {
            columns.back() += line[at];
        }
    }
    return columns;
}

/// The cases in tests/cases/NAME, one a line; blank lines and those that begin with # are passed over. After a case's
/// own columns comes its place (file, line and text), for SCOPED_TRACE(row.back()).
inline std::vector<std::vector<std::string>> Cases(const std::string& name) {
    std::vector<std::vector<std::string>> cases;
    std::ifstream file(TLG_SOURCE_DIR "/tests/cases/" + name);
    int number = 1;
    for (std::string line; std::getline(file, line); ++number) {
        if (!line.empty() && line[0] != '#') {
            cases.push_back(ColumnsOf(line));
            cases.back().push_back("tests/cases/" + name + ":" + std::to_string(number) + ": " + line);
        }
    }
    EXPECT_FALSE(cases.empty()) << "no cases in " << name;
    return cases;
}

#endif
