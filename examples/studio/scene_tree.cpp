// scene_tree.cpp - the scene tree.
#include "scene_tree.h"

#include "text.h"

namespace {

// An item's lParam holds what it stands for: the kind above the index.
LPARAM encode(Selection selection) {
    return LPARAM((uint64_t(selection.kind) << 32) | uint64_t(selection.index));
}
Selection decode(LPARAM param) {
    const uint64_t value = uint64_t(param);
    return {ItemKind(value >> 32), size_t(value & 0xFFFFFFFFu)};
}

std::wstring bodyText(const Body& body) {
    std::wstring text = widen(body.name);
    if (body.material) text += L"  (" + recordName(body.material) + L")";
    return text;
}

std::wstring linkText(const Lnk* link) {
    std::wstring text = recordName(link);
    if (LnkIsFollower(link)) text += L"  (follower)";
    return text;
}

}  // namespace

HWND SceneTree::create(HWND parent, int id) {
    hwnd_ = CreateWindowExW(WS_EX_CLIENTEDGE, WC_TREEVIEWW, L"",
                            WS_CHILD | WS_VISIBLE | WS_TABSTOP | TVS_HASLINES | TVS_LINESATROOT |
                                TVS_HASBUTTONS | TVS_SHOWSELALWAYS,
                            0, 0, 0, 0, parent, reinterpret_cast<HMENU>(INT_PTR(id)),
                            GetModuleHandleW(nullptr), nullptr);
    return hwnd_;
}

HTREEITEM SceneTree::add(HTREEITEM parent, const std::wstring& text, Selection selection) {
    TVINSERTSTRUCTW insert{};
    insert.hParent = parent;
    insert.hInsertAfter = TVI_LAST;
    insert.item.mask = TVIF_TEXT | TVIF_PARAM;
    insert.item.pszText = const_cast<wchar_t*>(text.c_str());
    insert.item.lParam = encode(selection);
    return TreeView_InsertItem(hwnd_, &insert);
}

void SceneTree::fill(const Document& document) {
    const Selection kept = selection();
    SendMessageW(hwnd_, WM_SETREDRAW, FALSE, 0);
    TreeView_DeleteAllItems(hwnd_);

    add(TVI_ROOT, L"Environment: " + recordName(document.environment()),
        {ItemKind::Environment, 0});
    const HTREEITEM lights = add(TVI_ROOT, L"Lights", {});
    for (size_t i = 0; i < document.lightCount(); ++i)
        add(lights, recordName(document.light(i)), {ItemKind::Light, i});
    const HTREEITEM materials = add(TVI_ROOT, L"Materials", {});
    for (size_t i = 0; i < document.materials().size(); ++i)
        add(materials, recordName(document.materials()[i]), {ItemKind::Material, i});
    const HTREEITEM bodies = add(TVI_ROOT, L"Bodies", {});
    for (size_t i = 0; i < document.bodies().size(); ++i)
        add(bodies, bodyText(document.bodies()[i]), {ItemKind::Body, i});
    const HTREEITEM links = add(TVI_ROOT, L"Links", {});
    for (size_t i = 0; i < document.links().size(); ++i)
        add(links, linkText(document.links()[i]), {ItemKind::Link, i});
    const HTREEITEM transmissions = add(TVI_ROOT, L"Transmissions", {});
    for (size_t i = 0; i < document.transmissions().size(); ++i)
        add(transmissions, recordName(document.transmissions()[i]), {ItemKind::Transmission, i});

    // Bodies and links are what one works with most; the rest stays folded.
    TreeView_Expand(hwnd_, bodies, TVE_EXPAND);
    TreeView_Expand(hwnd_, links, TVE_EXPAND);
    SendMessageW(hwnd_, WM_SETREDRAW, TRUE, 0);
    if (!kept.is(ItemKind::None)) select(kept);
    TreeView_EnsureVisible(hwnd_, TreeView_GetRoot(hwnd_));
}

HTREEITEM SceneTree::find(HTREEITEM first, Selection selection) const {
    for (HTREEITEM item = first; item; item = TreeView_GetNextSibling(hwnd_, item)) {
        const Selection here = selectionOf(item);
        if (here.kind == selection.kind && here.index == selection.index) return item;
        if (HTREEITEM inner = find(TreeView_GetChild(hwnd_, item), selection)) return inner;
    }
    return nullptr;
}

void SceneTree::select(Selection selection) {
    HTREEITEM item =
        selection.is(ItemKind::None) ? nullptr : find(TreeView_GetRoot(hwnd_), selection);
    if (item == TreeView_GetSelection(hwnd_)) return;
    TreeView_SelectItem(hwnd_, item);
    if (item) TreeView_EnsureVisible(hwnd_, item);
}

Selection SceneTree::selectionOf(HTREEITEM item) const {
    if (!item) return {};
    TVITEMW data{};
    data.mask = TVIF_PARAM;
    data.hItem = item;
    return TreeView_GetItem(hwnd_, &data) ? decode(data.lParam) : Selection{};
}

Selection SceneTree::selection() const {
    return selectionOf(TreeView_GetSelection(hwnd_));
}
