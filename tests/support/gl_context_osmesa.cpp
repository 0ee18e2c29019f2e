// OSMesa: an off-screen Mesa context rendering into memory.
#include <GL/osmesa.h>

#include <vector>

#include "support/gl_context.h"

struct TestGlContext::Impl {
    OSMesaContext context = nullptr;
    std::vector<unsigned char> buffer = std::vector<unsigned char>(64 * 64 * 4);
};

TestGlContext::TestGlContext() : impl_(new Impl) {
    impl_->context = OSMesaCreateContextExt(OSMESA_RGBA, 16, 0, 0, nullptr);
    if (!impl_->context) {
        error_ = "OSMesaCreateContextExt failed";
        return;
    }
    if (!OSMesaMakeCurrent(impl_->context, impl_->buffer.data(), GL_UNSIGNED_BYTE, 64, 64))
        error_ = "OSMesaMakeCurrent failed";
}

TestGlContext::~TestGlContext() {
    if (impl_->context) OSMesaDestroyContext(impl_->context);
    delete impl_;
}
