// The transmission tool: one page (dialog 260) over a transmission's switches and ratios. It
// writes the live record; the host hears of it on Apply only, and Cancel calls nothing.
#include <cstddef>
#include <iterator>

#include "core/records.h"
#include "pages/pages.h"
#include "tools/record_snapshot.h"
#include "tools/tool_family.h"
#include "tools/tool_page_win32.h"
#include "transmission_page_ids.h"

namespace orv {

namespace {

constexpr FieldControl kTransmissionControls[] = {
    {IDC_TRN_ACTIVE, FieldControl::check, offsetof(Trn, active), NumberFormat::general},
    {IDC_TRN_INVERT, FieldControl::check, offsetof(Trn, invert), NumberFormat::general},
    {IDC_TRN_LINLIN, FieldControl::number, offsetof(Trn, linLin), NumberFormat::general},
    {IDC_TRN_LINROT, FieldControl::number, offsetof(Trn, linRot), NumberFormat::general},
    {IDC_TRN_ROTROT, FieldControl::number, offsetof(Trn, rotRot), NumberFormat::general},
    {IDC_TRN_ROTLIN, FieldControl::number, offsetof(Trn, rotLin), NumberFormat::general},
};

ToolPage* makeTransmissionPage(ToolBlock& tool, const PageDesign&) {
    return new FieldPage(tool, kTransmissionControls, std::size(kTransmissionControls), false);
}

constexpr PageDesign kTransmissionPages[] = {{IDD_TRANSMISSION_PAGE, 0, makeTransmissionPage}};

// What Cancel restores: the switches and the four ratios, which lie together in the record.
constexpr size_t kSnapshotFrom = offsetof(Trn, active), kSnapshotTo = offsetof(Trn, source);
static_assert(kSnapshotTo - kSnapshotFrom == 2 * 4 + 4 * 8);

}  // namespace

extern const ToolFamily kTransmissionTool = {
    76,   // "Übersetzungswerkzeug"
    239,  // the sheet's icon
    false,
    false,
    false,  // one record
    [](const ToolBlock&, const PageDesign** out) {
        *out = kTransmissionPages;
        return size_t(std::size(kTransmissionPages));
    },
    [](void* record) { return &static_cast<Trn*>(record)->tool; },
    RecordBytes<kSnapshotFrom, kSnapshotTo>::take,
    RecordBytes<kSnapshotFrom, kSnapshotTo>::restore,
    freeRecordBytes,
};

}  // namespace orv
