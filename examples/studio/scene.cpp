// scene.cpp - the document, its default scene and the kinematic callbacks over it.
#include "scene.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace {

// The bodies, objects 1..n, stand in one assembly at the top of the object tree: the library
// checks collisions between objects of the second level. The other objects live in ranges of
// their own, so that a handle alone tells what it is.
constexpr uint64_t kLinkItems = 1ull << 32;
constexpr uint64_t kLinkObjects = 2ull << 32;
constexpr uint64_t kTrnItems = 3ull << 32;
constexpr uint64_t kTrnObjects = 4ull << 32;
constexpr uint64_t kAssembly = 5ull << 32;

int inRange(uint64_t handle, uint64_t first, size_t count) {
    return handle >= first && handle < first + count ? int(handle - first) : -1;
}

OrvVec3 toOrv(Vec3 v) {
    return {v.x, v.y, v.z};
}

// ---- The fifteen callbacks, over the document attached last -------------------------------------

Document* attached = nullptr;

uint64_t firstChild(uint64_t object) {
    if (object == 0) return attached ? kAssembly : 0;
    return object == kAssembly && attached && !attached->bodies().empty() ? Document::bodyObject(0)
                                                                          : 0;
}
uint64_t nextSibling(uint64_t object) {
    const int body = attached ? attached->bodyOfObject(object) : -1;
    return body >= 0 && size_t(body) + 1 < attached->bodies().size()
               ? Document::bodyObject(size_t(body) + 1)
               : 0;
}
uint64_t parentOf(uint64_t object) {
    return attached && attached->bodyOfObject(object) >= 0 ? kAssembly : 0;
}
uint64_t firstLink(uint64_t object) {
    const int body = attached ? attached->bodyOfObject(object) : -1;
    return body >= 0 ? attached->nextLinkFrom(size_t(body), SIZE_MAX) : 0;
}
uint64_t nextLink(uint64_t item) {
    const int link = attached ? attached->linkOfItem(item) : -1;
    if (link < 0) return 0;
    const int body = attached->bodyOfObject(attached->links()[size_t(link)]->sourceBody);
    return body >= 0 ? attached->nextLinkFrom(size_t(body), size_t(link)) : 0;
}
Lnk* linkRecord(uint64_t item) {
    const int link = attached ? attached->linkOfItem(item) : -1;
    return link >= 0 ? attached->links()[size_t(link)] : nullptr;
}
uint64_t firstTrn(uint64_t linkObject) {
    return attached ? attached->nextTransmissionFrom(linkObject, SIZE_MAX) : 0;
}
uint64_t nextTrn(uint64_t item) {
    const int trn = attached ? attached->transmissionOfItem(item) : -1;
    if (trn < 0) return 0;
    const Trn* record = attached->transmissions()[size_t(trn)];
    const Lnk* source = linkRecord(record->source);
    return source ? attached->nextTransmissionFrom(source->linkObject, size_t(trn)) : 0;
}
Trn* trnRecord(uint64_t item) {
    const int trn = attached ? attached->transmissionOfItem(item) : -1;
    return trn >= 0 ? attached->transmissions()[size_t(trn)] : nullptr;
}
void nameOf(uint64_t object, char name[256]) {
    const std::string text = attached ? attached->objectName(object) : std::string();
    std::snprintf(name, 256, "%s", text.c_str());
}
void getMatrix(uint64_t object, double m[16]) {
    const int body = attached ? attached->bodyOfObject(object) : -1;
    const Matrix motion = body >= 0 ? attached->bodies()[size_t(body)].motion : Matrix();
    std::memcpy(m, motion.m, sizeof motion.m);
}
void setMatrix(uint64_t object, const double m[16]) {
    const int body = attached ? attached->bodyOfObject(object) : -1;
    if (body >= 0) std::memcpy(attached->bodies()[size_t(body)].motion.m, m, sizeof(double) * 16);
}
int32_t checkCollision(uint64_t a, uint64_t b, int32_t) {
    return attached && attached->collide(a, b) ? 1 : 0;
}
// The viewport draws once Animation has returned, so nothing needs holding back meanwhile.
void beginUpdate() {}
void endUpdate() {}

}  // namespace

// ---- Document
// ------------------------------------------------------------------------------------

Document::Document() : environment_(CreateEnv("Studio")) {}

Document::~Document() {
    if (attached == this) attached = nullptr;
    for (Trn* trn : transmissions_) DisposeTrn(trn);
    for (Lnk* link : links_) DisposeLnk(link);
    for (Mat* mat : materials_) DisposeMat(mat);
    for (Lgt* light : lights_)
        if (light) DisposeLgt(light);
    DisposeEnv(environment_);
}

Mat* Document::addMaterial(const char* name, Vec3 diffuse, double shininess, Vec3 specular) {
    Mat* mat = CreateMat(name);
    mat->ambient = toOrv(diffuse);
    mat->diffuse = toOrv(diffuse);
    mat->specular = toOrv(specular);
    mat->emission = {0, 0, 0};
    mat->shininess = shininess;
    mat->opacity = 1.0;
    mat->reflection = 0.0;
    mat->refraction = 1.0;
    materials_.push_back(mat);
    return mat;
}

Mat* Document::addMaterialBlock(const std::vector<uint8_t>& block) {
    for (Mat* mat : materials_)
        if (MatEqual(mat, 0, block.data(), 1)) return mat;
    Mat* mat = CreateMat(nullptr);
    PutMat(mat, block.data());
    materials_.push_back(mat);
    return mat;
}

Lgt* Document::addLight(const char* name, int32_t type, Vec3 position, Vec3 aim, OrvColorRef colour,
                        double intensity, double spotAngle) {
    Lgt* light = CreateLgt(name);
    const double p[3] = {position.x, position.y, position.z}, a[3] = {aim.x, aim.y, aim.z};
    SetLgt(light, p, a, type, colour, intensity, spotAngle);
    lights_.insert(lights_.end() - 1, light);
    return light;
}

size_t Document::addBody(const std::string& name, Mesh mesh, Mat* material) {
    Body body;
    body.name = name;
    body.mesh = std::move(mesh);
    body.material = material;
    bodies_.push_back(std::move(body));
    return bodies_.size() - 1;
}

Lnk* Document::addLink(const char* name, size_t source, size_t target, Vec3 a, Vec3 b, bool sliding,
                       bool follower) {
    static const double frame[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    Lnk* link = CreateLnk(name);
    const OrvVec3 pointA = toOrv(a), pointB = toOrv(b);
    SetLnk(link, &pointA, &pointB, frame, 0, bodyObject(source), bodyObject(target),
           kLinkObjects + links_.size());
    link->lin = sliding ? 1 : 0;
    link->rot = sliding ? 0 : 1;
    link->follow = follower ? 1 : 0;
    links_.push_back(link);
    return link;
}

Trn* Document::addTransmission(const char* name, Lnk* source, Lnk* target) {
    Trn* trn = CreateTrn(name);
    SetTrn(trn, linkItem(source), linkItem(target), kTrnObjects + transmissions_.size());
    transmissions_.push_back(trn);
    return trn;
}

Mat* Document::adoptMaterial(Mat* mat) {
    materials_.push_back(mat);
    return mat;
}

Lgt* Document::adoptLight(Lgt* light) {
    lights_.insert(lights_.end() - 1, light);
    return light;
}

// Only the handles change: the geometry, values and drives stay as the record holds them.
Lnk* Document::adoptLink(Lnk* link, int source, int target) {
    link->sourceBody = source >= 0 ? bodyObject(size_t(source)) : 0;
    link->targetBody = target >= 0 ? bodyObject(size_t(target)) : 0;
    link->linkObject = kLinkObjects + links_.size();
    links_.push_back(link);
    return link;
}

Trn* Document::adoptTransmission(Trn* trn, int sourceLink, int targetLink) {
    SetTrn(trn, sourceLink >= 0 ? kLinkItems + uint64_t(sourceLink) : 0,
           targetLink >= 0 ? kLinkItems + uint64_t(targetLink) : 0,
           kTrnObjects + transmissions_.size());
    transmissions_.push_back(trn);
    return trn;
}

Box Document::bounds(bool withGround) const {
    Box box;
    for (const Body& body : bodies_)
        if (withGround || !body.ground) box.add(body.worldBounds());
    return box;
}

int Document::pick(Vec3 origin, Vec3 direction) const {
    int nearest = -1;
    double nearestDistance = 0;
    for (size_t i = 0; i < bodies_.size(); ++i) {
        // The ray in the body's own coordinates keeps the same parameter along it.
        const Matrix back = bodies_[i].motion.inverse();
        const double d = bodies_[i].mesh.intersect(back.point(origin), back.direction(direction));
        if (d > 0 && (nearest < 0 || d < nearestDistance)) {
            nearest = int(i);
            nearestDistance = d;
        }
    }
    return nearest;
}

std::vector<Lnk*> Document::linksMoving(size_t body) const {
    std::vector<Lnk*> result;
    for (Lnk* link : links_)
        if (link->targetBody == bodyObject(body)) result.push_back(link);
    return result;
}

uint64_t Document::linkItem(const Lnk* link) const {
    const auto at = std::find(links_.begin(), links_.end(), link);
    return at == links_.end() ? 0 : kLinkItems + uint64_t(at - links_.begin());
}

int Document::bodyOfObject(uint64_t object) const {
    return inRange(object, bodyObject(0), bodies_.size());
}
int Document::linkOfItem(uint64_t item) const {
    return inRange(item, kLinkItems, links_.size());
}
int Document::transmissionOfItem(uint64_t item) const {
    return inRange(item, kTrnItems, transmissions_.size());
}

// A body carries the links that start from it, in the order they were made.
uint64_t Document::nextLinkFrom(size_t body, size_t afterLink) const {
    for (size_t i = afterLink == SIZE_MAX ? 0 : afterLink + 1; i < links_.size(); ++i)
        if (links_[i]->sourceBody == bodyObject(body)) return kLinkItems + i;
    return 0;
}

// A transmission is listed with the link that drives it.
uint64_t Document::nextTransmissionFrom(uint64_t linkObject, size_t afterTransmission) const {
    for (size_t i = afterTransmission == SIZE_MAX ? 0 : afterTransmission + 1;
         i < transmissions_.size(); ++i) {
        const int source = linkOfItem(transmissions_[i]->source);
        if (source >= 0 && links_[size_t(source)]->linkObject == linkObject) return kTrnItems + i;
    }
    return 0;
}

std::string Document::objectName(uint64_t object) const {
    if (const int body = bodyOfObject(object); body >= 0) return bodies_[size_t(body)].name;
    if (const int link = inRange(object, kLinkObjects, links_.size()); link >= 0)
        return links_[size_t(link)]->name;
    if (const int trn = inRange(object, kTrnObjects, transmissions_.size()); trn >= 0)
        return transmissions_[size_t(trn)]->name;
    return {};
}

// Bounding boxes are coarse but cheap; a small tolerance lets parts that merely touch pass.
// Bodies joined by a link touch by design.
bool Document::collide(uint64_t a, uint64_t b) {
    const int first = bodyOfObject(a), second = bodyOfObject(b);
    if (first < 0 || second < 0 || first == second) return false;
    for (const Lnk* link : links_) {
        if ((link->sourceBody == a && link->targetBody == b) ||
            (link->sourceBody == b && link->targetBody == a))
            return false;
    }
    Body& one = bodies_[size_t(first)];
    Body& other = bodies_[size_t(second)];
    if (!one.worldBounds().overlaps(other.worldBounds(), 1e-6)) return false;
    one.colliding = other.colliding = true;
    if (firstCollision_.empty()) firstCollision_ = one.name + " and " + other.name;
    return true;
}

bool Document::attachKinematics() {
    attached = this;
    KinematicCallback(firstChild, nextSibling, parentOf, firstLink, nextLink, linkRecord, firstTrn,
                      nextTrn, trnRecord, nameOf, getMatrix, setMatrix, checkCollision, beginUpdate,
                      endUpdate);
    uint64_t offending = 0;
    return KinematicInit(&offending) != 0;
}

Motion Document::animate(double time, bool checkCollisions) {
    for (Body& body : bodies_) body.colliding = false;
    firstCollision_.clear();
    Motion motion;
    motion.result = Motion::Result(Animation(time, checkCollisions ? 1 : 0));
    motion.firstCollision = firstCollision_;
    return motion;
}

// ---- Scenes ------------------------------------------------------------------------------------

namespace {

// A checker of light and darker stone, eight squares on the edge, bottom row first.
std::vector<uint8_t> checkerImage(uint32_t side) {
    std::vector<uint8_t> pixels(4u * side * side);
    for (uint32_t y = 0; y < side; ++y) {
        for (uint32_t x = 0; x < side; ++x) {
            uint8_t* p = &pixels[4u * (y * side + x)];
            const bool light = ((x / (side / 8)) + (y / (side / 8))) % 2 == 0;
            p[0] = light ? 236 : 196;
            p[1] = light ? 234 : 198;
            p[2] = light ? 228 : 204;
            p[3] = 255;
        }
    }
    return pixels;
}

// Gives the material a checker surface whose squares are squareEdge long. The library owns a
// slot's pixels (its tools replace them), so the image goes in through a block, which PutMat
// copies into pixels of the library's own.
void giveChecker(Mat* mat, double squareEdge) {
    const uint32_t side = 64;
    std::vector<uint8_t> image = checkerImage(side);
    OrvTextureSlot& slot = mat->slots[0];
    slot.source = 1;
    slot.projection = 1;  // box: the floor takes the plane square to its normal
    slot.side = side;
    slot.pixelBytes = uint32_t(image.size());
    slot.pixels = image.data();
    slot.tileX = slot.tileY = 1;
    slot.mode = 0;
    slot.filter = 0;
    slot.intensity = 1.0;
    slot.size = squareEdge * 4;  // half the edge of one image of eight squares
    uint32_t size = 0;
    GetMat(mat, nullptr, &size);
    std::vector<uint8_t> block(size);
    GetMat(mat, block.data(), &size);
    slot.pixels = nullptr;
    slot.pixelBytes = 0;
    PutMat(mat, block.data());
}

void addStudioLights(Document& document, const Box& scene) {
    Env* env = document.environment();
    SetEnv(env, RGB(206, 214, 226));
    env->standardLights = 0;  // the scene's own lights
    env->brightness = 1.0;
    env->ambient = {0.26, 0.26, 0.28};
    env->fogDensity = 0;

    const Vec3 centre = scene.centre();
    const double r = std::max(1.0, length(scene.size()) / 2);
    document.addLight("Key light", 2, centre + Vec3{-0.6, 1.1, 1.0} * r, centre, RGB(255, 246, 232),
                      0.9);
    document.addLight("Fill light", 0, centre + Vec3{1.0, 0.6, 0.4} * r, centre, RGB(176, 196, 232),
                      0.45);
    document.addLight("Spot", 1, centre + Vec3{0.1, 0.9, 0.7} * r, centre + Vec3{0, -0.2, 0.1} * r,
                      RGB(255, 255, 255), 0.35, 35);
}

}  // namespace

void buildDefaultScene(Document& document) {
    Mat* floor = document.addMaterial("Floor", {0.92, 0.92, 0.92}, 8, {0.15, 0.15, 0.15});
    giveChecker(floor, 1.0);
    Mat* steel = document.addMaterial("Steel", {0.52, 0.56, 0.62}, 60, {0.8, 0.8, 0.8});
    Mat* orange = document.addMaterial("Orange", {0.94, 0.46, 0.10}, 40);
    Mat* blue = document.addMaterial("Blue", {0.16, 0.36, 0.78}, 50);
    Mat* green = document.addMaterial("Green", {0.20, 0.62, 0.32}, 30);
    Mat* yellow = document.addMaterial("Yellow", {0.95, 0.76, 0.14}, 40);
    Mat* red = document.addMaterial("Red", {0.80, 0.14, 0.12}, 40);
    Mat* teal = document.addMaterial("Teal", {0.10, 0.56, 0.60}, 60);
    Mat* gold = document.addMaterial("Gold", {0.85, 0.62, 0.18}, 90, {1.0, 0.9, 0.6});

    // The mechanisms turn in the plane z = 0 about the z axis; the floor lies below them.
    const double floorY = -2.5;
    Box area;
    area.add(Vec3{-6, floorY, -11});
    area.add(Vec3{20, floorY, 15});
    const size_t ground = document.addBody("Floor", makeFloor(area, floorY, 26), floor);
    document.bodies()[ground].ground = true;

    Mesh frameMesh = makeBox({7, -2.3, -0.55}, {17.5, 0.4, 0.7});
    for (double x : {0.0, 10.0, 14.0}) {
        frameMesh.append(makeBox({x, -0.875, -0.55}, {0.5, 2.45, 0.4}));
        frameMesh.append(makeCylinder({x, 0, -0.35}, {0, 0, 1}, 0.12, 0.35));
    }
    frameMesh.append(makeBox({3.0, -0.125, -0.25}, {3.4, 0.25, 0.5}));  // the slider's rail
    frameMesh.append(makeBox({3.0, -1.175, -0.25}, {0.4, 1.85, 0.3}));
    const size_t frame = document.addBody("Frame", std::move(frameMesh), steel);

    // Slider crank: crank about the origin with its pin at (1, 0), the slider on y = 0.25.
    auto pin = [](double x, double y) { return makeCylinder({x, y, 0}, {0, 0, 1}, 0.08, 0.25); };
    Mesh crankMesh = makeRoundBar({0, 0, 0}, {1, 0, 0}, 0.4, -0.2, 0);
    crankMesh.append(pin(1, 0));
    const size_t crank = document.addBody("Crank", std::move(crankMesh), orange);
    Mesh sliderMesh = makeBox({4, 0.25, -0.225}, {0.9, 0.5, 0.45});
    sliderMesh.append(pin(4, 0.25));
    const size_t slider = document.addBody("Slider", std::move(sliderMesh), green);
    const size_t rod =
        document.addBody("Rod", makeRoundBar({1, 0, 0}, {4, 0.25, 0}, 0.26, 0.03, 0.2), blue);

    // Four-bar: crank about (10, 0), rocker from (14, 0) to (14, 3), coupler back to the pin.
    Mesh driveMesh = makeRoundBar({10, 0, 0}, {11, 0, 0}, 0.4, -0.2, 0);
    driveMesh.append(pin(11, 0));
    const size_t drive = document.addBody("Drive crank", std::move(driveMesh), orange);
    Mesh rockerMesh = makeRoundBar({14, 0, 0}, {14, 3, 0}, 0.3, -0.2, 0);
    rockerMesh.append(pin(14, 3));
    const size_t rocker = document.addBody("Rocker", std::move(rockerMesh), yellow);
    const size_t coupler =
        document.addBody("Coupler", makeRoundBar({14, 3, 0}, {11, 0, 0}, 0.26, 0.03, 0.2), blue);

    // In front: a block that slides to the cylinder and back, and a ball.
    const size_t block =
        document.addBody("Block", makeBox({4.5, floorY + 0.6, 3.6}, {1.2, 1.2, 1.2}), red);
    document.addBody("Cylinder", makeCylinder({9, floorY, 3.6}, {0, 1, 0}, 0.7, 1.8), teal);
    document.addBody("Ball", makeSphere({12.5, floorY + 0.9, 3.8}, 0.9), gold);

    Lnk* crankshaft =
        document.addLink("Crankshaft", frame, crank, {0, 0, 1}, {0, 0, 0}, false, false);
    document.addLink("Slider guide", frame, slider, {5, 0.25, 0}, {4, 0.25, 0}, true, true);
    document.addLink("Rod bearing", slider, rod, {4, 0.25, 1}, {4, 0.25, 0}, false, true);
    document.addLink("Crank pin", rod, crank, {1, 0, 0}, {1, 0, -1}, false, true);
    Lnk* driveShaft =
        document.addLink("Drive shaft", frame, drive, {10, 0, 1}, {10, 0, 0}, false, false);
    document.addLink("Rocker bearing", frame, rocker, {14, 0, 1}, {14, 0, 0}, false, true);
    document.addLink("Coupler bearing", rocker, coupler, {14, 3, 1}, {14, 3, 0}, false, true);
    document.addLink("Coupler pin", coupler, drive, {11, 0, 0}, {11, 0, -1}, false, true);
    Lnk* carriage = document.addLink("Carriage", ground, block, {5.5, floorY, 3.6},
                                     {4.5, floorY, 3.6}, true, false);

    // One turn of the crank per time unit: half a turn speeding up, half slowing down.
    OrvDrive& turn = crankshaft->rotDrive;
    turn.count = 2;
    turn.phases[0].W = 180, turn.phases[0].T = 0.5, turn.phases[0].F = 2;
    turn.phases[1].W = 180, turn.phases[1].T = 0.5, turn.phases[1].F = 1;

    // The gear pair turns the four-bar's crank the other way round.
    Trn* gears = document.addTransmission("Gear pair", crankshaft, driveShaft);
    gears->rotRot = -1, gears->rotLin = 0, gears->linLin = 0, gears->linRot = 0;

    // The block runs into the cylinder, stays a moment and runs back, in two time units.
    carriage->linMin = 0;
    carriage->linMax = 4;
    carriage->collCheck = 1;
    OrvDrive& shuttle = carriage->linDrive;
    const OrvPhase phases[] = {{1.8, 0.3, 2, 0, {}},  {1.8, 0.3, 1, 0, {}},  {0, 0.4, 0, 0, {}},
                               {-1.8, 0.3, 2, 0, {}}, {-1.8, 0.3, 1, 0, {}}, {0, 0.4, 0, 0, {}}};
    shuttle.count = int32_t(std::size(phases));
    std::copy(std::begin(phases), std::end(phases), shuttle.phases);

    addStudioLights(document, document.bounds());
}

bool importObj(Document& document, const std::wstring& path, std::string& error) {
    std::vector<ObjShape> shapes;
    if (!loadObj(path, shapes, error)) return false;
    // A file without materials gets one for all its shapes.
    Mat* plain = nullptr;
    for (ObjShape& shape : shapes) {
        Mat* mat = nullptr;
        if (shape.hasColour) {
            for (Mat* existing : document.materials())
                if (shape.materialName == existing->name) mat = existing;
            if (!mat) mat = document.addMaterial(shape.materialName.c_str(), shape.colour);
        } else {
            if (!plain) plain = document.addMaterial("Model", {0.78, 0.74, 0.68});
            mat = plain;
        }
        const std::string name = shape.name.empty() ? "Model" : shape.name;
        document.addBody(name, std::move(shape.mesh), mat);
    }
    return true;
}

void addFloor(Document& document) {
    const Box scene = document.bounds();
    if (scene.empty()) return;
    const Vec3 centre = scene.centre(), size = scene.size();
    const double extent = std::max({size.x, size.y, size.z, 1e-3});
    const double half = extent * 0.9;
    // Squares of a round length, about ten to twenty across the models.
    const double square = std::pow(10.0, std::round(std::log10(extent / 16)));
    Mat* floor = document.addMaterial("Floor", {0.92, 0.92, 0.92}, 8, {0.15, 0.15, 0.15});
    giveChecker(floor, square);
    Box area;
    area.add(Vec3{centre.x - half, scene.min.y, centre.z - half});
    area.add(Vec3{centre.x + half, scene.min.y, centre.z + half});
    const size_t ground = document.addBody("Floor", makeFloor(area, scene.min.y, 24), floor);
    document.bodies()[ground].ground = true;
    if (document.lightCount() == 0) addStudioLights(document, document.bounds());
}
