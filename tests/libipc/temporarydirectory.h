#ifndef TESTS_LIBIPC_TEMPORARYDIRECTORY_H
#define TESTS_LIBIPC_TEMPORARYDIRECTORY_H

#include <cstdlib>
#include <filesystem>
#include <string>

// A fresh directory under /tmp, removed with everything in it at the end.
class TemporaryDirectory {
public:
    TemporaryDirectory()
    {
        char name[] = "/tmp/orvane-test-XXXXXX";
        m_path = mkdtemp(name) ? name : "";
    }
    ~TemporaryDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

#endif
