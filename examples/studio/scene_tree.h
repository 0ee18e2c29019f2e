// scene_tree.h - the tree of the document's environment, lights, materials, bodies, links and
// transmissions at the left of the main window.
#pragma once

#include <windows.h>

#include <commctrl.h>

#include "scene.h"

class SceneTree {
public:
    HWND create(HWND parent, int id);
    HWND hwnd() const { return hwnd_; }

    // Lists the document anew, keeping the selection where the item still exists.
    void fill(const Document& document);
    void select(Selection selection);
    // What an item stands for; group items stand for nothing.
    Selection selectionOf(HTREEITEM item) const;
    Selection selection() const;

private:
    HTREEITEM add(HTREEITEM parent, const std::wstring& text, Selection selection);
    HTREEITEM find(HTREEITEM first, Selection selection) const;

    HWND hwnd_ = nullptr;
};
