#ifndef TLG_TESTS_SUPPORT_TEMPORARYROOT_H
#define TLG_TESTS_SUPPORT_TEMPORARYROOT_H

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

/// A root directory of the test's own, named by TLG_ROOT as long as it lives. It does not stay where the test is
/// killed.
class TemporaryRoot {
public:
    TemporaryRoot() {
        std::string path = (std::filesystem::temp_directory_path() / "melvane.XXXXXX").string();
        m_path = ::mkdtemp(path.data());
        ::setenv("TLG_ROOT", m_path.c_str(), 1);
        // Reads until this process has ended, in whatever way. In a session of its own it is not killed with it. The
        // test's programs may need a moment to be gone.
        constexpr const char* kRemover =
            R"(setsid -f sh -c 'read _; rm -rf "$TLG_ROOT" ||
                { sleep 1; umount -l "$TLG_ROOT/pps"; rm -rf "$TLG_ROOT"; }' > /dev/null 2>&1)";
        m_remover = ::popen(kRemover, "we");
    }
    ~TemporaryRoot() {
        ::unsetenv("TLG_ROOT");
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
        ::pclose(m_remover);
    }
    TemporaryRoot(const TemporaryRoot&) = delete;
    TemporaryRoot& operator=(const TemporaryRoot&) = delete;

    const std::string& Path() const { return m_path; }

    /// Writes a file at an absolute path below the root.
    void WriteFile(const std::string& path, const std::string& content) const {
        const std::filesystem::path full(m_path + path);
        std::filesystem::create_directories(full.parent_path());
        std::ofstream(full, std::ios::binary) << content;
    }

private:
    std::string m_path;
    FILE* m_remover;
};

#endif
