#pragma once
// A folder of a test's own.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace tooltest {

/// An empty folder, removed with all that is in it at the end of its scope. Bound to a thread.
class TestFolder {
public:
    TestFolder() {
        std::string pattern = testing::TempDir() + "tavix_XXXXXX";
        if (!mkdtemp(pattern.data())) throw std::runtime_error("no scratch folder");
        m_Path = pattern;
    }
    ~TestFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_Path, ignored);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::string Path(const std::string& name = {}) const { return name.empty() ? m_Path : m_Path + "/" + name; }
    std::string Write(const std::string& name, const std::string& content) const {
        std::ofstream(Path(name), std::ios::binary) << content;
        return Path(name);
    }
    std::string Read(const std::string& name) const {
        std::ifstream file(Path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    /// Names of the files that end so, in order.
    std::vector<std::string> Files(const std::string& ending) const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_Path)) {
            if (entry.path().extension() == ending) names.push_back(entry.path().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    std::string m_Path;
};

} // namespace tooltest
