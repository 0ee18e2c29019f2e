// Records the message boxes the library shows while a watch is running. Natively the library's
// box function is replaced by a recorder. Under Wine the library in the DLL shows real boxes:
// a watcher thread finds each box of this process, reads its caption and text and presses OK.
#pragma once

#include <string>
#include <vector>

struct ShownBox {
    std::string caption, text;
};

class BoxWatch {
public:
    BoxWatch();
    ~BoxWatch();
    BoxWatch(const BoxWatch&) = delete;
    BoxWatch& operator=(const BoxWatch&) = delete;

    // Ends the watch and returns the boxes in the order shown.
    std::vector<ShownBox> stop();

private:
    struct Impl;
    Impl* impl_;
};
