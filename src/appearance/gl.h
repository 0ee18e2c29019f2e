// OpenGL 1.1 for the portable viewer code. On Windows the system header wants <windows.h>
// only for these two macros, so they are given here and the platform header stays out.
#pragma once

#if defined(_WIN32) && !defined(APIENTRY)
#define APIENTRY __stdcall
#endif
#if defined(_WIN32) && !defined(WINGDIAPI)
#define WINGDIAPI __declspec(dllimport)
#endif

#include <GL/gl.h>

#ifndef GL_CLAMP
#define GL_CLAMP 0x2900
#endif
