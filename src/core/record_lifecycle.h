// Record handles and their lifecycle: creation with built-in and stored defaults, disposal,
// flat blocks (Get/Put), names, and the family-specific setters.
//
// A handle is the record's address, which is also the address of its 64-byte name.
#pragma once

#include <cstddef>
#include <cstdint>

#include "orvanta.h"

namespace orv {

// ---- Creation and disposal -----------------------------------------------------------------
// name is copied over the default name with a bound of 64 characters (a 64-character name has
// no terminator inside the record); a null name keeps the default name.
Env* createEnv(const char* name);
Lgt* createLgt(const char* name);
Mat* createMat(const char* name);
Lnk* createLnk(const char* name);
Trn* createTrn(const char* name);

void disposeEnv(Env* env);
void disposeLgt(Lgt* lgt);
void disposeMat(Mat* mat);
void disposeLnk(Lnk* lnk);
void disposeTrn(Trn* trn);

// ---- Blocks --------------------------------------------------------------------------------
// Get: the block's size; with a non-null buffer also the block. Put: frees what the record owns,
// copies the block in, rebuilds the owned parts and clears the tool pointer.
uint32_t getEnv(const Env& env, void* buffer);
uint32_t getLgt(const Lgt& lgt, void* buffer);
uint32_t getTrn(const Trn& trn, void* buffer);
uint32_t getMat(const Mat& mat, void* buffer);
uint32_t getLnk(const Lnk& lnk, void* buffer);
void putEnv(Env& env, const void* block);
void putLgt(Lgt& lgt, const void* block);
void putTrn(Trn& trn, const void* block);
void putMat(Mat& mat, const void* block);
void putLnk(Lnk& lnk, const void* block);

// ---- Setters -------------------------------------------------------------------------------
void setEnv(Env& env, uint32_t colour);
void setLgt(Lgt& lgt, const double* position, const double* aim, int32_t type, uint32_t colour,
            double intensity, double spotAngle);
void setLnk(Lnk& lnk, const void* a, const void* b, const void* c, int32_t count,
            uint64_t baseBody, uint64_t targetBody, uint64_t linkObject);
void resetLnk(Lnk& lnk);
void setTrn(Trn& trn, uint64_t source, uint64_t target, uint64_t object);

// ---- Names and comparisons -----------------------------------------------------------------
// The most characters a name can hold in any record: 127 and a terminator end before the
// nearest editor pointer (offset 128, in Trn), and every record is longer than that.
constexpr size_t kHandleNameMost = 127;
// Copies the name up to and including its terminator into out. A name that setHandleName
// stored longer than 64 characters reads back whole; a 64-character name from create has no
// terminator inside its 64 bytes and reads on into the fields behind it. At most
// kHandleNameMost characters and a terminator are written, so out needs 128 bytes.
void getHandleName(const void* handle, char* out);
// Copies name and its terminator over the record's start. Longer names overwrite the fields
// behind the name, as hosts expect, but at most kHandleNameMost characters are taken, so that
// no record's editor pointer is ever overwritten.
void setHandleName(void* handle, const char* name);
bool matEqual(const void* a, bool aIsBlock, const void* b, bool bIsBlock);

// Expert mode: material editors opened from now on show one page per texture slot.
void setExpertMode(bool on);
bool expertMode();

}  // namespace orv
