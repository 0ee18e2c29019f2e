#include "raytrace/shadow_cache.h"

#include "raytrace/triangle_hit.h"

namespace orv {

namespace {

// Segments an entry may keep pending before they are looked up (about 18 KB).
constexpr size_t kMaxPending = 256;

bool entryBlocks(const ShadowCacheEntry& entry, const Ray& ray, double segmentEnd) {
    return entry.triangle && cachedTriangleBlocks(*entry.body, *entry.triangle, ray, segmentEnd);
}

// The entry's triangle first, then the search in walk order, which leaves its first blocker in
// the entry or clears it.
double walkOrderShadow(const RenderContext& ctx, ShadowCacheEntry* entry, const Ray& ray,
                       double segmentEnd) {
    if (entry && entryBlocks(*entry, ray, segmentEnd)) return 0.0;
    Hit hit;
    hit.t = segmentEnd;
    ctx.intersector->traceShadow(ctx.scene, ray, hit);
    // A blocking preview object has no triangle to keep: the entry is cleared.
    const bool cached = hit.visibility < kHitEps && hit.triangle;
    if (entry) {
        entry->body = cached ? hit.body : nullptr;
        entry->triangle = cached ? hit.triangle : nullptr;
    }
    return hit.visibility;
}

}  // namespace

void settleShadowCache(RenderContext& ctx, int k) {
    if (k < 0 || k >= kShadowCacheSize) return;
    ShadowCacheEntry& entry = ctx.shadowCache[k];
    for (const PendingShadow& p : entry.pending) walkOrderShadow(ctx, &entry, p.ray, p.segmentEnd);
    entry.pending.clear();
}

double shadowVisibility(RenderContext& ctx, int k, const Ray& ray, double segmentEnd) {
    ShadowCacheEntry* entry = k < kShadowCacheSize ? &ctx.shadowCache[k] : nullptr;
    const Intersector& search = *ctx.intersector;
    if (!ctx.scene.everyOccluderBlocks || !search.findAnyBlocker) {
        if (entry && !entry->pending.empty()) settleShadowCache(ctx, k);
        return walkOrderShadow(ctx, entry, ray, segmentEnd);
    }

    // Every occluder blocks: the segment is blocked exactly when the walk would reach one on it,
    // or the entry's triangle alone blocks it.
    if (entry && entry->pending.empty() && entryBlocks(*entry, ray, segmentEnd)) return 0.0;
    Hit hit;
    hit.t = segmentEnd;
    int32_t noHint = -1;
    bool unreached = false;
    if (search.findAnyBlocker(ctx.scene, ray, hit, entry ? entry->hint : noHint, unreached)) {
        if (entry) {
            // The walk's first blocker becomes the entry, unless the entry blocked this segment
            // on its own: decided when it matters.
            if (entry->pending.capacity() == 0) entry->pending.reserve(kMaxPending);
            entry->pending.push_back(PendingShadow{ray, segmentEnd});
            if (entry->pending.size() == kMaxPending) settleShadowCache(ctx, k);
        }
        return hit.visibility;
    }
    if (!entry) return 1.0;
    // Nothing the walk reaches meets the segment. The entry, whatever it is after its pending
    // segments, is an occluder; had it met the segment, the search would have met it too,
    // reached or not. Only when some occluder met the segment out of the walk's reach can the
    // entry's triangle block it alone, and the entry is then brought up to date to tell.
    if (unreached && !entry->pending.empty()) {
        settleShadowCache(ctx, k);
        if (entryBlocks(*entry, ray, segmentEnd)) return 0.0;
    }
    entry->body = nullptr;
    entry->triangle = nullptr;
    entry->pending.clear();
    return 1.0;
}

}  // namespace orv
