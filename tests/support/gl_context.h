// A current OpenGL context for tests of OpenGL state: off-screen OSMesa natively, a WGL context
// in a window on the virtual display under Wine. Real OpenGL either way, read back with glGet.
#pragma once

#include <string>

class TestGlContext {
public:
    TestGlContext();
    ~TestGlContext();
    TestGlContext(const TestGlContext&) = delete;
    TestGlContext& operator=(const TestGlContext&) = delete;

    bool ok() const { return error_.empty(); }
    const std::string& error() const { return error_; }

private:
    struct Impl;
    Impl* impl_ = nullptr;
    std::string error_;
};
