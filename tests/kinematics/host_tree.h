// A small host for the kinematic tests: an object tree with link items hanging on its objects,
// reached by the library through the fifteen callbacks as a real host's tree would be.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "orvanta.h"

class HostTree {
public:
    // Objects named by letters, children in parentheses: "A(B C(D)) E".
    explicit HostTree(const char* objects = "");

    uint64_t addObject(uint64_t parent);  // parent 0: top level
    static uint64_t body(char letter) { return kFirstObject + uint64_t(letter); }

    // A link item appended to carrier's list. flags: f follower, L purely linear, R purely
    // rotational. The link's host object is linkObject(index in the order of creation).
    Lnk& addLink(const char* name, uint64_t source, uint64_t target, uint64_t carrier,
                 const char* flags = "");
    Lnk& addLink(const char* name, char source, char target, char carrier, const char* flags = "") {
        return addLink(name, body(source), body(target), body(carrier), flags);
    }
    // Malformed hosts: from's next sibling becomes to; carrier's last item leads to its first.
    void loopSiblings(char from, char to) { object(body(from)).nextSibling = body(to); }
    void loopLinks(char carrier);

    static uint64_t linkObject(size_t index) { return kFirstLinkObject + index; }
    std::string linkName(uint64_t linkObject) const;

    // Installs this tree's callbacks (one tree at a time) and counts the calls into it.
    void install();
    static uint64_t calls();

    // The joint tree as NextFix/NextJnt show it: "A{l1>B{l2#1>C}} D{...}", "#k" for kind k > 0.
    std::string describe() const;
    static std::string objectName(uint64_t object);

private:
    static constexpr uint64_t kFirstObject = 0x1000, kFirstItem = 0x70000,
                              kFirstLinkObject = 0x90000;
    struct Object {
        uint64_t parent = 0, firstChild = 0, lastChild = 0, nextSibling = 0, firstItem = 0;
    };
    struct Item {
        Lnk* record;
        uint64_t next;
    };
    Object& object(uint64_t id) { return objects_[id - kFirstObject]; }
    void appendChild(uint64_t parent, uint64_t child);
    void appendJoints(void* node, std::string& out) const;
    friend struct HostTreeCallbacks;

    std::vector<Object> objects_;
    std::vector<Item> items_;
    std::deque<Lnk> links_;  // stable addresses
};
