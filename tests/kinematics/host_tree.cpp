#include "kinematics/host_tree.h"

#include <cstring>

#include "core/records.h"
#include "kinematics/joint_tree.h"

namespace {
HostTree* installed = nullptr;
uint64_t callCount = 0;
}  // namespace

HostTree::HostTree(const char* objects) {
    objects_.resize(256);  // the letter objects; objects added later follow them
    std::vector<uint64_t> open{0};
    uint64_t last = 0;
    for (const char* c = objects; *c; ++c) {
        if (*c == '(') open.push_back(last);
        if (*c == ')') open.pop_back();
        if (*c < 'A' || *c > 'Z') continue;
        last = body(*c);
        appendChild(open.back(), last);
    }
}

void HostTree::appendChild(uint64_t parent, uint64_t child) {
    Object& owner = parent ? object(parent) : objects_[0];
    (owner.lastChild ? object(owner.lastChild).nextSibling : owner.firstChild) = child;
    owner.lastChild = child;
    object(child).parent = parent;
}

uint64_t HostTree::addObject(uint64_t parent) {
    objects_.push_back({});
    const uint64_t id = kFirstObject + objects_.size() - 1;
    appendChild(parent, id);
    return id;
}

Lnk& HostTree::addLink(const char* name, uint64_t source, uint64_t target, uint64_t carrier,
                       const char* flags) {
    Lnk& link = links_.emplace_back();
    orv::setBuiltInDefaults(link);
    std::strncpy(link.name, name, sizeof link.name - 1);
    link.follow = std::strchr(flags, 'f') != nullptr;
    if (std::strchr(flags, 'L')) link.rot = 0;
    if (std::strchr(flags, 'R')) link.lin = 0;
    link.sourceBody = source;
    link.targetBody = target;
    link.linkObject = linkObject(links_.size() - 1);

    items_.push_back({&link, 0});
    uint64_t* next = &object(carrier).firstItem;
    while (*next) next = &items_[*next - kFirstItem].next;
    *next = kFirstItem + items_.size() - 1;
    return link;
}

void HostTree::loopLinks(char carrier) {
    uint64_t* next = &object(body(carrier)).firstItem;
    const uint64_t first = *next;
    while (*next) next = &items_[*next - kFirstItem].next;
    *next = first;
}

std::string HostTree::linkName(uint64_t linkObject) const {
    return linkObject >= kFirstLinkObject && linkObject - kFirstLinkObject < links_.size()
               ? links_[linkObject - kFirstLinkObject].name
               : "?";
}

std::string HostTree::objectName(uint64_t object) {
    if (object > kFirstObject + 'A' - 1 && object <= kFirstObject + 'Z')
        return std::string(1, char(object - kFirstObject));
    return "#" + std::to_string(object);
}

// Object 0 (the scene root) lives at index 0: only its firstChild is used.
struct HostTreeCallbacks {
    static HostTree::Object& object(uint64_t id) {
        ++callCount;
        return id ? installed->object(id) : installed->objects_[0];
    }
    static HostTree::Item& item(uint64_t id) {
        ++callCount;
        return installed->items_[id - HostTree::kFirstItem];
    }
    static uint64_t firstChild(uint64_t o) { return object(o).firstChild; }
    static uint64_t nextSibling(uint64_t o) { return object(o).nextSibling; }
    static uint64_t parent(uint64_t o) { return object(o).parent; }
    static uint64_t firstLink(uint64_t o) { return object(o).firstItem; }
    static uint64_t nextLink(uint64_t i) { return item(i).next; }
    static Lnk* linkRecord(uint64_t i) { return item(i).record; }
};

void HostTree::install() {
    installed = this;
    using C = HostTreeCallbacks;
    KinematicCallback(C::firstChild, C::nextSibling, C::parent, C::firstLink, C::nextLink,
                      C::linkRecord, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                      nullptr, nullptr);
    callCount = 0;
}

uint64_t HostTree::calls() {
    return callCount;
}

std::string HostTree::describe() const {
    std::string out;
    void* node = nullptr;
    uint64_t fixed = 0;
    for (void* cell = NextFix(nullptr, &node, &fixed); cell; cell = NextFix(cell, &node, &fixed)) {
        out += (out.empty() ? "" : " ") + objectName(fixed);
        appendJoints(node, out);
    }
    return out;
}

void HostTree::appendJoints(void* node, std::string& out) const {
    void* child = nullptr;
    uint64_t linkObject = 0, childBody = 0;
    const char* separator = "{";
    void* joint = nullptr;
    while ((joint = NextJnt(node, joint, &child, &linkObject, &childBody))) {
        out += separator + linkName(linkObject);
        // The kind is the library's own; its joints have the layout of joint_tree.h.
        if (const int32_t kind = static_cast<const orv::Joint*>(joint)->kind)
            out += "#" + std::to_string(kind);
        out += ">" + objectName(childBody);
        appendJoints(child, out);
        separator = " ";
    }
    if (*separator == ' ') out += "}";
}
