// Files and texts for tests.
#pragma once

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "platform/text.h"

/// A folder of its own for each test, removed at the end.
class CTestFolder {
public:
    CTestFolder() {
        std::random_device random;  // tests run side by side
        m_path = std::filesystem::temp_directory_path() /
                 ("parvel-test-" + std::to_string(random()) + "-" + std::to_string(random()));
        std::filesystem::create_directories(m_path);
    }
    ~CTestFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    CTestFolder(const CTestFolder&) = delete;
    CTestFolder& operator=(const CTestFolder&) = delete;

    std::filesystem::path File(const std::string& name) const { return m_path / name; }
    /// The same as the library takes it.
    Text Path(const std::string& name) const { return Wide(File(name).u16string()); }

    static Text Wide(const std::u16string& text) { return Text(text.begin(), text.end()); }

private:
    std::filesystem::path m_path;
};

inline std::vector<unsigned char> ReadBytes(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline std::string ReadText(const std::filesystem::path& path) {
    const std::vector<unsigned char> bytes = ReadBytes(path);
    return {bytes.begin(), bytes.end()};
}

template <class Bytes>
void WriteBytes(const std::filesystem::path& path, const Bytes& bytes) {
    // Some file systems wait for the disk when a file is cut short and written anew.
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}
