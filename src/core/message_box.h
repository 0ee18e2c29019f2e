// Message boxes: the library's only way to tell the user something. Everything goes through
// showMessageBox, so tests can replace the box with a recorder.
#pragma once

#include <cstdint>

namespace orv {

// Win32 MessageBox styles and results the library uses (the platform's own values).
constexpr uint32_t kMbOk = 0x0, kMbYesNoCancel = 0x3;
constexpr uint32_t kMbIconStop = 0x10, kMbIconQuestion = 0x20, kMbIconExclamation = 0x30,
                   kMbIconInformation = 0x40;
constexpr uint32_t kMbTaskModal = 0x2000;
constexpr int32_t kIdOk = 1, kIdCancel = 2, kIdYes = 6, kIdNo = 7;

using MessageBoxFn = int32_t (*)(void* owner, const char* text, const char* caption,
                                 uint32_t style);

// Shows a box (owner may be null) and returns the button pressed.
int32_t showMessageBox(void* owner, const char* text, const char* caption, uint32_t style);

// Replaces the platform's box (null restores it); returns the previous handler.
MessageBoxFn setMessageBoxHandler(MessageBoxFn handler);

// The platform's own box: MessageBoxA on Windows; natively a line on stderr, answered OK.
int32_t platformMessageBox(void* owner, const char* text, const char* caption, uint32_t style);

}  // namespace orv
