// The completion of the tools' command lines in bash.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/support/Cases.h"
#include "tests/support/Chain.h"

namespace {

/// What bash finds for a command line, with blanks between.
std::string Candidates(const std::string& line) {
    static constexpr const char* kComplete = "source " TLG_SOURCE_DIR "/tools/completion/melvane-tools.bash; "
                                             "IFS=' ' read -ra COMP_WORDS <<< \"$LINE\"; [[ $LINE != *' ' ]] || "
                                             "COMP_WORDS+=(''); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); "
                                             "_melvane_tools \"" TLG_BIN_DIR "/${COMP_WORDS[0]}\"; "
                                             "echo -n \"${COMPREPLY[@]}\"";
    ::setenv("LINE", line.c_str(), 1);
    ::setenv("COMPLETE", kComplete, 1);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(::popen("exec bash -c \"$COMPLETE\"", "r"), ::pclose);
    std::array<char, 4096> text{};
    return std::string(text.data(), std::fread(text.data(), 1, text.size(), output.get()));
}

TEST(CompletionTest, EachToolKnowsWhatMayComeNext) {
    const TemporaryRoot root;
    const auto ppsd = StartReady("ppsd");
    ASSERT_TRUE(WriteObject("/pps/test/one", "a::1") && WriteObject("/pps/test/two", "a::1"));
    for (const std::vector<std::string>& row : Cases("completion.txt")) {
        SCOPED_TRACE(row.back());
        EXPECT_EQ(Candidates(row[0]), row[1]);
    }
}

} // namespace
