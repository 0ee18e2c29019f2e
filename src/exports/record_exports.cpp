// Exports of the record families: lifecycle, blocks, setters, names and accessors.
#include "core/record_lifecycle.h"
#include "orvanta.h"

extern "C" {

ORVANTA_API Env* CreateEnv(const char* name) { return orv::createEnv(name); }
ORVANTA_API Lgt* CreateLgt(const char* name) { return orv::createLgt(name); }
ORVANTA_API Mat* CreateMat(const char* name) { return orv::createMat(name); }
ORVANTA_API Lnk* CreateLnk(const char* name) { return orv::createLnk(name); }
ORVANTA_API Trn* CreateTrn(const char* name) { return orv::createTrn(name); }

ORVANTA_API int32_t DisposeEnv(Env* env) { return orv::disposeEnv(env), 1; }
ORVANTA_API int32_t DisposeLgt(Lgt* lgt) { return orv::disposeLgt(lgt), 1; }
ORVANTA_API int32_t DisposeMat(Mat* mat) { return orv::disposeMat(mat), 1; }
ORVANTA_API int32_t DisposeLnk(Lnk* lnk) { return orv::disposeLnk(lnk), 1; }
ORVANTA_API int32_t DisposeTrn(Trn* trn) { return orv::disposeTrn(trn), 1; }

ORVANTA_API int32_t GetEnv(Env* env, void* buffer, uint32_t* size) {
    return *size = orv::getEnv(*env, buffer), 1;
}
ORVANTA_API int32_t GetLgt(Lgt* lgt, void* buffer, uint32_t* size) {
    return *size = orv::getLgt(*lgt, buffer), 1;
}
ORVANTA_API int32_t GetMat(Mat* mat, void* buffer, uint32_t* size) {
    return *size = orv::getMat(*mat, buffer), 1;
}
ORVANTA_API int32_t GetLnk(Lnk* lnk, void* buffer, uint32_t* size) {
    return *size = orv::getLnk(*lnk, buffer), 1;
}
ORVANTA_API int32_t GetTrn(Trn* trn, void* buffer, uint32_t* size) {
    return *size = orv::getTrn(*trn, buffer), 1;
}

ORVANTA_API int32_t PutEnv(Env* env, const void* block) { return orv::putEnv(*env, block), 1; }
ORVANTA_API int32_t PutLgt(Lgt* lgt, const void* block) { return orv::putLgt(*lgt, block), 1; }
ORVANTA_API int32_t PutMat(Mat* mat, const void* block) { return orv::putMat(*mat, block), 1; }
ORVANTA_API int32_t PutLnk(Lnk* lnk, const void* block) { return orv::putLnk(*lnk, block), 1; }
ORVANTA_API int32_t PutTrn(Trn* trn, const void* block) { return orv::putTrn(*trn, block), 1; }

ORVANTA_API int32_t SetEnv(Env* env, OrvColorRef colour) { return orv::setEnv(*env, colour), 1; }

ORVANTA_API int32_t SetLgt(Lgt* lgt, const double position[3], const double aim[3], int32_t type,
                           OrvColorRef colour, double intensity, double spotAngle) {
    orv::setLgt(*lgt, position, aim, type, colour, intensity, spotAngle);
    return 1;
}

ORVANTA_API int32_t SetLnk(Lnk* lnk, const void* a, const void* b, const void* c, int32_t count,
                           uint64_t baseBody, uint64_t targetBody, uint64_t linkObject) {
    orv::setLnk(*lnk, a, b, c, count, baseBody, targetBody, linkObject);
    return 1;
}

ORVANTA_API int32_t ResetLnk(Lnk* lnk) { return orv::resetLnk(*lnk), 0; }

ORVANTA_API int32_t SetTrn(Trn* trn, uint64_t source, uint64_t target, uint64_t object) {
    return orv::setTrn(*trn, source, target, object), 1;
}

ORVANTA_API int32_t GetHandleName(const void* handle, char* out) {
    return orv::getHandleName(handle, out), 1;
}
ORVANTA_API int32_t SetHandleName(void* handle, const char* name) {
    return orv::setHandleName(handle, name), 1;
}

ORVANTA_API int32_t MatEqual(const void* a, int32_t aIsBlock, const void* b, int32_t bIsBlock) {
    return orv::matEqual(a, aIsBlock != 0, b, bIsBlock != 0) ? 1 : 0;
}

ORVANTA_API int32_t SetExpertMode(int32_t on) { return orv::setExpertMode(on != 0), 1; }

ORVANTA_API uint64_t TrnTarget(const Trn* trn) { return trn->target; }
ORVANTA_API uint64_t ObjOfTrn(const Trn* trn) { return trn->object; }

}  // extern "C"
