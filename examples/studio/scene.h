// scene.h - the studio's document: bodies with their meshes, motion matrices and materials,
// the environment, the lights, and the links and transmissions that move the bodies.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "geometry.h"
#include "orvanta.h"

struct Body {
    std::string name;  // in the ANSI code page, as the library reads names
    Mesh mesh;         // in scene coordinates at rest
    Matrix motion;     // where the kinematics has moved the body
    Mat* material = nullptr;
    bool ground = false;  // a floor: fitting the view leaves it out
    bool colliding = false;

    Box worldBounds() const { return transformBox(mesh.bounds, motion); }
};

// What the scene tree and the commands point at.
enum class ItemKind { None, Environment, Body, Material, Light, Link, Transmission };

struct Selection {
    ItemKind kind = ItemKind::None;
    size_t index = 0;

    bool is(ItemKind k) const { return kind == k; }
};

// The result of moving the scene to a point in time.
struct Motion {
    enum Result { Moved = 0, LoopOpen = 1, Collision = 2 } result = Moved;
    std::string firstCollision;  // "A and B" when result is Collision
};

class Document {
public:
    Document();
    ~Document();  // disposes every record, which closes their tools
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    Env* environment() const { return environment_; }
    // Null-terminated, as ViewerDefineLgts and the raytracer take them.
    Lgt* const* lightList() const { return lights_.data(); }
    size_t lightCount() const { return lights_.size() - 1; }
    Lgt* light(size_t i) const { return lights_[i]; }

    const std::vector<Mat*>& materials() const { return materials_; }
    const std::vector<Body>& bodies() const { return bodies_; }
    std::vector<Body>& bodies() { return bodies_; }
    const std::vector<Lnk*>& links() const { return links_; }
    const std::vector<Trn*>& transmissions() const { return transmissions_; }

    Mat* addMaterial(const char* name, Vec3 diffuse, double shininess = 30,
                     Vec3 specular = {0.5, 0.5, 0.5});
    // Takes a material made from a block (the material library's); an equal one already in the
    // document is used instead.
    Mat* addMaterialBlock(const std::vector<uint8_t>& block);
    Lgt* addLight(const char* name, int32_t type, Vec3 position, Vec3 aim, OrvColorRef colour,
                  double intensity, double spotAngle = 30);
    size_t addBody(const std::string& name, Mesh mesh, Mat* material);
    // A link moving target against source along the axis from b to a: a turning one, or a
    // sliding one; followers have their values set by the loop they close.
    Lnk* addLink(const char* name, size_t source, size_t target, Vec3 a, Vec3 b, bool sliding,
                 bool follower);
    Trn* addTransmission(const char* name, Lnk* source, Lnk* target);
    // Records read from a file: the document takes them over. Links and transmissions get the
    // document's own handles for the bodies and links given by index (-1 for none).
    Mat* adoptMaterial(Mat* mat);
    Lgt* adoptLight(Lgt* light);
    Lnk* adoptLink(Lnk* link, int source, int target);
    Trn* adoptTransmission(Trn* trn, int sourceLink, int targetLink);

    Box bounds(bool withGround = true) const;
    // The body a ray hits first, or -1.
    int pick(Vec3 origin, Vec3 direction) const;
    // Links whose target is the body.
    std::vector<Lnk*> linksMoving(size_t body) const;

    // The kinematics works on one document at a time: this one from now on. Returns false when
    // the links are not sound (the library has told the user).
    bool attachKinematics();
    Motion animate(double time, bool checkCollisions);

    // Handles the library knows the document's objects by.
    static uint64_t bodyObject(size_t index) { return index + 1; }
    uint64_t linkItem(const Lnk* link) const;

    // The kinematic callbacks' view of the document.
    int bodyOfObject(uint64_t object) const;
    int linkOfItem(uint64_t item) const;
    int transmissionOfItem(uint64_t item) const;
    uint64_t nextLinkFrom(size_t body, size_t afterLink) const;
    uint64_t nextTransmissionFrom(uint64_t linkObject, size_t afterTransmission) const;
    std::string objectName(uint64_t object) const;
    bool collide(uint64_t a, uint64_t b);

private:
    Env* environment_ = nullptr;
    std::vector<Lgt*> lights_{nullptr};
    std::vector<Mat*> materials_;
    std::vector<Body> bodies_;
    std::vector<Lnk*> links_;
    std::vector<Trn*> transmissions_;
    std::string firstCollision_;
};

// The default scene: a floor, a slider crank and a four-bar linkage on their frame, a block
// sliding to and fro beside a cylinder and a ball, lights and an environment.
void buildDefaultScene(Document& document);
// Adds an OBJ file's shapes as bodies. Returns false with the reason in error.
bool importObj(Document& document, const std::wstring& path, std::string& error);
// A floor under everything in the document, large enough to stand it all on.
void addFloor(Document& document);
