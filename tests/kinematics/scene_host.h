// The host of the kinematic tests and the animation benchmark: an object tree with names, motion
// matrices, link items, transmission listings and a collision test, reached through the fifteen
// callbacks, each an array lookup. One host is installed at a time.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "kinematics/host_callbacks.h"
#include "orvanta.h"

struct SceneHost {
    struct Object {
        uint64_t parent = 0, firstChild = 0, lastChild = 0, nextSibling = 0;
        uint64_t firstLink = 0, lastLink = 0;  // link items
        std::string name;
        double m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    };
    // Link i is item kLinkItem + i and host object kLinkObject + i; transmission listing i is
    // item kTrnItem + i. Objects are numbered from 1; object 0 is the scene root.
    static constexpr uint64_t kLinkItem = 1u << 20, kLinkObject = 2u << 20, kTrnItem = 3u << 20;

    std::vector<Object> objects{Object{}};
    std::deque<Lnk> links;  // stable addresses
    std::vector<uint64_t> nextLink;
    std::deque<Trn> trns;
    struct Listing {
        Trn* trn;
        uint64_t next;
    };
    std::vector<Listing> listings;
    std::vector<uint64_t> firstListing, lastListing;  // per link
    std::vector<std::pair<uint64_t, uint64_t>> collisionAsks;
    int32_t collisionFlag = 0;  // the flag of the last ask
    uint64_t collidingA = 0, collidingB = 0;
    // Calls into the tree (the callbacks of objects and link items) since connect().
    static uint64_t calls;

    SceneHost() = default;
    // Objects named by letters, children in parentheses: "A(B C(D)) E".
    explicit SceneHost(const char* letters);
    uint64_t body(char letter) const;  // the object named by the letter

    uint64_t add(uint64_t parent, const char* name = "");
    // A link from source to target along the axis B -> A, carried by source unless a carrier
    // is given, with the built-in values and both drives off.
    Lnk& link(uint64_t source, uint64_t target, OrvVec3 a = {}, OrvVec3 b = {},
              uint64_t carrier = 0);
    static uint64_t itemOf(const Lnk& l) { return kLinkItem + (l.linkObject - kLinkObject); }
    // A transmission from one link to another, listed with the links given.
    Trn& transmission(const Lnk& from, const Lnk& to, const std::vector<const Lnk*>& listedWith);
    // Where the body's motion matrix carries point p.
    OrvVec3 place(uint64_t body, OrvVec3 p) const;
    // Installs the fifteen callbacks; install() also builds the joint tree.
    void connect();
    void install();

    // The fifteen callbacks; they reach the installed host.
    static const orv::HostCallbacks callbacks;
};

// A cyclic drive of one linear phase: path w in time t.
void setLinearDrive(OrvDrive& d, double w, double t);
