// Copies of a material's appearance with images of their own: what a texture page applies,
// what an editor restores on Cancel, and the material a texture page's preview shows. Every
// pixel buffer changes hands inside the texture lock, so viewers and raytracers reading the
// record on other threads see either the old image or the new one.
#pragma once

#include "orvanta.h"

namespace orv {

// Makes to a copy of from, fields and pixels; to's old pixels are freed.
void copyTextureSlot(OrvTextureSlot& to, const OrvTextureSlot& from);

// Copies everything of from behind its name into to, slot by slot with pixels of their own,
// except to's tool pointer and, when keepSlot is 0..3, that slot of to.
void copyMaterialBody(Mat& to, const Mat& from, int keepSlot = -1);

// A material's editor snapshot: a record of its own holding the body and duplicated pixels.
Mat* takeMaterialSnapshot(const Mat& mat);
void restoreMaterialSnapshot(Mat& mat, const Mat& snapshot);
void freeMaterialSnapshot(Mat* snapshot);

}  // namespace orv
