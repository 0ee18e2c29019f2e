// text.h - the studio's window texts are UTF-16; the library's names and paths are in the
// system's ANSI code page.
#pragma once

#include <windows.h>

#include <string>

inline std::wstring widen(const std::string& text) {
    if (text.empty()) return {};
    const int length = MultiByteToWideChar(CP_ACP, 0, text.data(), int(text.size()), nullptr, 0);
    std::wstring wide(size_t(length), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text.data(), int(text.size()), wide.data(), length);
    return wide;
}

inline std::string narrow(const std::wstring& text) {
    if (text.empty()) return {};
    const int length =
        WideCharToMultiByte(CP_ACP, 0, text.data(), int(text.size()), nullptr, 0, nullptr, nullptr);
    std::string ansi(size_t(length), '\0');
    WideCharToMultiByte(CP_ACP, 0, text.data(), int(text.size()), ansi.data(), length, nullptr,
                        nullptr);
    return ansi;
}

// A record's name: the record starts with it.
inline std::wstring recordName(const void* record) {
    return widen(static_cast<const char*>(record));
}
