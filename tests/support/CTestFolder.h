#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace test {

/// A new folder that is removed with everything in it. A test writes its files here and nowhere else, because
/// tests run at the same time.
class CTestFolder {
public:
    CTestFolder() {
        std::string path = (std::filesystem::temp_directory_path() / "quillon-test-XXXXXX").string();
        if (mkdtemp(path.data()) == nullptr)
            throw std::runtime_error("no folder for the test");
        m_path = path;
    }
    CTestFolder(const CTestFolder&) = delete;
    CTestFolder& operator=(const CTestFolder&) = delete;
    ~CTestFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    [[nodiscard]] std::string Path() const { return m_path.string(); }
    [[nodiscard]] std::string operator/(const std::string& name) const { return (m_path / name).string(); }

    /// Writes a file of this text and returns its path.
    [[nodiscard]] std::string File(const std::string& name, const std::string& text) const {
        std::ofstream(m_path / name, std::ios::binary) << text;
        return *this / name;
    }

    /// The names of all files in it, also hidden ones, ascending.
    [[nodiscard]] std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_path))
            names.push_back(std::filesystem::relative(entry.path(), m_path).string());
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    std::filesystem::path m_path;
};

} // namespace test
