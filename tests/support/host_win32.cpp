#include "support/host_win32.h"

#include <commdlg.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <vector>

namespace {

uint32_t crc32(const uint8_t* data, size_t size, uint32_t crc = 0) {
    crc = ~crc;
    for (size_t i = 0; i < size; ++i) {
        crc ^= data[i];
        for (int k = 0; k < 8; ++k) crc = crc >> 1 ^ (0xEDB88320u & (0u - (crc & 1)));
    }
    return ~crc;
}

void put32(std::vector<uint8_t>& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(uint8_t(v >> shift));
}

void chunk(std::vector<uint8_t>& out, const char* type, const std::vector<uint8_t>& data) {
    put32(out, uint32_t(data.size()));
    const size_t start = out.size();
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), data.begin(), data.end());
    put32(out, crc32(&out[start], out.size() - start));
}

// Writes 8-bit RGB pixels, top row first, as a PNG file of stored (uncompressed) deflate blocks.
bool writePng(const std::string& path, int width, int height, const uint8_t* rgb) {
    // The scanlines, each behind filter byte 0, in stored deflate blocks of at most 65535 bytes.
    std::vector<uint8_t> raw;
    for (int y = 0; y < height; ++y) {
        raw.push_back(0);
        raw.insert(raw.end(), rgb + size_t(y) * width * 3, rgb + size_t(y + 1) * width * 3);
    }
    std::vector<uint8_t> z = {0x78, 0x01};
    for (size_t at = 0; at < raw.size() || at == 0;) {
        const size_t n = raw.size() - at < 65535 ? raw.size() - at : 65535;
        z.push_back(at + n == raw.size() ? 1 : 0);
        z.insert(z.end(), {uint8_t(n), uint8_t(n >> 8), uint8_t(~n), uint8_t(~n >> 8)});
        z.insert(z.end(), raw.begin() + at, raw.begin() + at + n);
        at += n;
        if (n == 0) break;
    }
    uint32_t a = 1, b = 0;
    for (uint8_t byte : raw) a = (a + byte) % 65521, b = (b + a) % 65521;
    put32(z, b << 16 | a);

    std::vector<uint8_t> header;
    put32(header, uint32_t(width));
    put32(header, uint32_t(height));
    header.insert(header.end(), {8, 2, 0, 0, 0});  // 8 bits, RGB
    std::vector<uint8_t> file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    chunk(file, "IHDR", header);
    chunk(file, "IDAT", z);
    chunk(file, "IEND", {});
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    const bool written = std::fwrite(file.data(), 1, file.size(), f) == file.size();
    return std::fclose(f) == 0 && written;
}

}  // namespace

void pumpMessages() {
    MSG msg;
    while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&msg);
        DispatchMessageA(&msg);
    }
}

bool pumpUntil(const std::function<bool()>& condition, int timeoutMs) {
    const ULONGLONG end = GetTickCount64() + ULONGLONG(timeoutMs);
    while (!condition()) {
        if (GetTickCount64() > end) return false;
        pumpMessages();
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_ALLINPUT);
    }
    return true;
}

HWND ownedDialog(HWND owner, const std::function<bool(HWND)>& match, int timeoutMs) {
    HWND found = nullptr;
    pumpUntil(
        [&] {
            for (HWND w = FindWindowA("#32770", nullptr); w && !found;
                 w = GetWindow(w, GW_HWNDNEXT)) {
                if (GetWindow(w, GW_OWNER) == owner && IsWindowVisible(w) && isDialog(w) &&
                    (!match || match(w)))
                    found = w;
            }
            return found != nullptr;
        },
        timeoutMs);
    return found;
}

void chooseFile(HWND dialog, const std::string& path) {
    for (int id : {0x480, 0x47C})  // edt1, cmb13
        SendMessageA(dialog, CDM_SETCONTROLTEXT, id, reinterpret_cast<LPARAM>(path.c_str()));
    PostMessageA(dialog, WM_COMMAND, IDOK, 0);
}

std::string saveScreenshot(HWND window, const std::string& name, HWND printed) {
    const char* folder = std::getenv("ORVANTA_SCREENSHOTS");
    const std::filesystem::path dir = folder && *folder ? folder : "screenshots";
    std::error_code ignored;
    std::filesystem::create_directories(dir, ignored);
    const std::string path = (dir / (name + ".png")).string();

    // Painted as the screen shows it: the library's sheets are topmost.
    RedrawWindow(window, nullptr, nullptr,
                 RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN | RDW_UPDATENOW);
    const ULONGLONG settle = GetTickCount64() + 300;
    while (GetTickCount64() < settle) pumpMessages(), Sleep(10);
    RECT r;
    GetWindowRect(window, &r);
    const int w = r.right - r.left, h = r.bottom - r.top;
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = w;
    info.bmiHeader.biHeight = -h;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    HBITMAP section = CreateDIBSection(memory, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    bool written = false;
    if (section) {
        HGDIOBJ old = SelectObject(memory, section);
        BitBlt(memory, 0, 0, w, h, screen, r.left, r.top, SRCCOPY);
        if (printed) {
            POINT at{0, 0};
            ClientToScreen(printed, &at);
            SetViewportOrgEx(memory, at.x - r.left, at.y - r.top, nullptr);
            SendMessageA(printed, WM_PRINTCLIENT, reinterpret_cast<WPARAM>(memory), PRF_CLIENT);
            SetViewportOrgEx(memory, 0, 0, nullptr);
        }
        GdiFlush();
        std::vector<uint8_t> rgb(size_t(w) * h * 3);
        const uint8_t* p = static_cast<const uint8_t*>(bits);
        for (size_t i = 0; i < size_t(w) * h; ++i) {
            rgb[3 * i] = p[4 * i + 2], rgb[3 * i + 1] = p[4 * i + 1], rgb[3 * i + 2] = p[4 * i];
        }
        written = writePng(path, w, h, rgb.data());
        SelectObject(memory, old);
        DeleteObject(section);
    }
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    if (!written) return {};
    std::printf("screenshot: %s\n", std::filesystem::absolute(path).string().c_str());
    return path;
}
