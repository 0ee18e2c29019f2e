#include "pages/drive_files_win32.h"

#include <commdlg.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "core/message_box.h"
#include "i18n/localise.h"
#include "kinematics/drive_file.h"
#include "settings/settings.h"

namespace orv {

namespace {

constexpr int32_t kCaption = 298;                 // "Antrieb"
constexpr DWORD kLargestFile = 16 * 1024 * 1024;  // far beyond 256 phases of any spelling

void message(HWND owner, int32_t textId) {
    showLocalisedMessage(owner, textId, kCaption, 0, kMbOk | kMbIconExclamation);
}

// The file dialog's common part: filter 272 "Antrieb (*.drv):*.drv:Tabelle (*.csv):*.csv",
// whose colons separate the filter's strings, and the folder remembered as "DrvDir".
struct FileChoice {
    char filter[kLocalisedMax + 2] = {};
    char title[kLocalisedMax] = {};
    char folder[settings::kStringBytes] = {};
    char path[MAX_PATH] = {};
    OPENFILENAMEA dialog = {};

    FileChoice(HWND owner, int32_t titleId) {
        loadLocalisedString(272, filter);
        for (char& c : filter) c = c == ':' ? '\0' : c;
        loadLocalisedString(titleId, title);
        dialog.lStructSize = sizeof dialog;
        dialog.hwndOwner = owner;
        dialog.lpstrFilter = filter;
        dialog.lpstrFile = path;
        dialog.nMaxFile = sizeof path;
        dialog.lpstrTitle = title;
        dialog.lpstrDefExt = "drv";
        if (settings::readString(settings::kUserHive, settings::kLibrarySubkey, "DrvDir", folder) &&
            folder[0])
            dialog.lpstrInitialDir = folder;
        // The host's current folder stays where it is; the chosen file's folder is remembered.
        dialog.Flags = OFN_EXPLORER | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
    }

    void remember() {
        char chosen[settings::kStringBytes] = {};
        const size_t folderLength = dialog.nFileOffset;
        if (folderLength == 0 || folderLength >= sizeof chosen) return;
        std::memcpy(chosen, path, folderLength);
        // "C:\" keeps its backslash; a deeper folder loses it.
        if (folderLength > 3 && chosen[folderLength - 1] == '\\') chosen[folderLength - 1] = 0;
        settings::writeString(settings::kUserHive, settings::kLibrarySubkey, "DrvDir", chosen);
    }
};

bool readWholeFile(const char* path, std::string& text) {
    HANDLE file = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    LARGE_INTEGER size = {};
    bool ok = GetFileSizeEx(file, &size) && size.QuadPart <= kLargestFile;
    if (ok) {
        text.resize(size_t(size.QuadPart));
        DWORD read = 0;
        ok = text.empty() ||
             (ReadFile(file, &text[0], DWORD(text.size()), &read, nullptr) && read == text.size());
    }
    CloseHandle(file);
    return ok;
}

// "Die Datei wird nicht geladen: Zeile <n> <why>." with the fault's own text.
void refuse(HWND owner, const DriveFileRead& read) {
    int32_t why = 276;  // "%i hat nicht vier Felder W;T;F;H"
    switch (read.fault) {
        case DriveFileFault::number: why = 277; break;
        case DriveFileFault::notFinite: why = 278; break;
        case DriveFileFault::function: why = 279; break;
        case DriveFileFault::tooMany: why = 280; break;
        default: break;
    }
    char format[kLocalisedMax], line[kLocalisedMax], text[kLocalisedMax], caption[kLocalisedMax];
    loadLocalisedFormat(why, format);
    std::snprintf(line, sizeof line, format, read.line);
    loadLocalisedFormat(275, format);
    std::snprintf(text, sizeof text, format, line);
    loadLocalisedString(kCaption, caption);
    showMessageBox(owner, text, caption, kMbOk | kMbIconExclamation);
}

}  // namespace

bool readDriveFromPath(HWND owner, const char* path, OrvDrive& drive) {
    std::string text;
    if (!readWholeFile(path, text)) {
        message(owner, 118);  // "Die Datei kann nicht geöffnet werden."
        return false;
    }
    OrvPhase phases[kDrivePhasesMost];
    const DriveFileRead read = readDriveFile(text.data(), text.size(), phases);
    if (read.fault != DriveFileFault::none) {
        refuse(owner, read);
        return false;
    }
    std::memcpy(drive.phases, phases, sizeof(OrvPhase) * size_t(read.count));
    std::memset(drive.phases + read.count, 0,
                sizeof(OrvPhase) * size_t(kDrivePhasesMost - read.count));
    drive.count = read.count;
    return true;
}

bool loadDriveFile(HWND owner, OrvDrive& drive) {
    FileChoice choice(owner, 273);  // "Antrieb laden"
    choice.dialog.Flags |= OFN_FILEMUSTEXIST;
    if (!GetOpenFileNameA(&choice.dialog)) return false;
    choice.remember();
    return readDriveFromPath(owner, choice.path, drive);
}

void saveDriveFile(HWND owner, const OrvDrive& drive) {
    FileChoice choice(owner, 274);  // "Antrieb speichern"
    choice.dialog.Flags |= OFN_OVERWRITEPROMPT;
    if (!GetSaveFileNameA(&choice.dialog)) return;
    choice.remember();
    const std::string text = writeDriveFile(drive.phases, drive.count);
    HANDLE file = CreateFileA(choice.path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    const bool ok = file != INVALID_HANDLE_VALUE &&
                    WriteFile(file, text.data(), DWORD(text.size()), &written, nullptr) &&
                    written == text.size();
    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
    if (!ok) message(owner, 108);  // "Die Datei kann nicht erstellt werden."
}

}  // namespace orv
