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
                ("orvanta-test-" + std::to_string(stamp) + "-" + std::to_string(++counter()));
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
