// Helpers of the localisation tests: translation files in a temporary folder and the module
// that holds the built-in string table.
#pragma once

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

// An empty folder of its own under the temporary folder, removed with everything in it.
class TempFolder {
public:
    TempFolder() {
        const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
        path_ = std::filesystem::temp_directory_path() /
                ("orvanta-i18n-" + std::to_string(stamp) + "-" + std::to_string(++counter()));
        std::filesystem::create_directories(path_);
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::string file(const std::string& name) const { return (path_ / name).string(); }
    const std::filesystem::path& path() const { return path_; }

    std::string write(const std::string& name, const std::string& bytes) const {
        std::ofstream(file(name), std::ios::binary) << bytes;
        return file(name);
    }

private:
    static int& counter() {
        static int n = 0;
        return n;
    }
    std::filesystem::path path_;
};

// The module whose resources hold the built-in string table: the DLL under Windows (the test
// program has no string table of its own); natively the table is compiled in.
#ifdef _WIN32
void* stringTableModule();
#else
inline void* stringTableModule() {
    return nullptr;
}
#endif
