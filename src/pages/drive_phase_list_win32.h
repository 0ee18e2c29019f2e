// The drive dialog's list of phases: a report list view with one row per phase (number, W, T,
// the function's name, H) whose cells are edited in place. The cell editor is a child of the
// dialog laid over the cell: an edit for the numbers, a drop-down list for the function.
// Enter takes the cell and goes on to the next one of the row, Escape drops it, and leaving it
// takes it.
#pragma once

#include <windows.h>

#include "orvanta.h"

namespace orv {

class PhaseList {
public:
    static constexpr int kFirstEdited = 1, kLastEdited = 4;  // the columns W, T, F, H

    // Sets up the list control id of dialog over drive, which the list edits.
    void attach(HWND dialog, int id, int editorId, OrvDrive& drive);
    // The rows again from the drive, row select selected (-1: none).
    void show(int select);
    int selected() const;

    // Starts editing cell column (kFirstEdited..kLastEdited) of row.
    void beginEdit(int row, int column);
    // Ends an edit; with take, the cell's text goes into the drive (true when it changed).
    bool endEdit(bool take);
    bool editing() const { return editor_ != nullptr; }
    // Enter in the editor: takes the cell and edits the next of the row (true when the drive
    // changed).
    bool takeAndGoOn();

    // The list's notifications that start an edit: a double click on a cell, F2 on a row.
    void notified(const NMHDR& header);

private:
    void showRow(int row);

    HWND dialog_ = nullptr, list_ = nullptr, editor_ = nullptr;
    int editorId_ = 0;
    OrvDrive* drive_ = nullptr;
    int row_ = -1, column_ = 0;  // the cell being edited
};

// The localised name of motion function f (0..4), or "?" for any other value.
void motionFunctionName(int32_t f, char* out);

}  // namespace orv
