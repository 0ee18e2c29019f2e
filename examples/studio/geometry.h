// geometry.h - vectors, motion matrices and triangle meshes of Orvanta Studio.
#pragma once

#include <string>
#include <vector>

struct Vec3 {
    double x = 0, y = 0, z = 0;
};

inline Vec3 operator+(Vec3 a, Vec3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec3 operator-(Vec3 a, Vec3 b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec3 operator*(Vec3 a, double s) {
    return {a.x * s, a.y * s, a.z * s};
}
inline double dot(Vec3 a, Vec3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vec3 cross(Vec3 a, Vec3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double length(Vec3 a);
Vec3 normalise(Vec3 a);

// An axis-aligned box; empty until the first point is added.
struct Box {
    Vec3 min{1e300, 1e300, 1e300};
    Vec3 max{-1e300, -1e300, -1e300};

    bool empty() const { return min.x > max.x; }
    void add(Vec3 p);
    void add(const Box& other);
    Vec3 centre() const { return (min + max) * 0.5; }
    Vec3 size() const { return max - min; }
    bool overlaps(const Box& other, double tolerance) const;
};

// Motion matrices are column-major like OpenGL's and the library's: m[12..14] is the shift.
struct Matrix {
    double m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

    Vec3 point(Vec3 p) const;
    Vec3 direction(Vec3 d) const;
    Matrix inverse() const;  // of a rotation, scaling and shift; the last row is kept 0 0 0 1
};

// Box around the corners of a local box carried by a motion matrix.
Box transformBox(const Box& local, const Matrix& motion);

// A triangle soup: three corners per triangle, a normal per corner and one per face. Corners
// are counter-clockwise seen from outside.
struct Mesh {
    std::vector<Vec3> corners;
    std::vector<Vec3> normals;
    std::vector<Vec3> faceNormals;
    Box bounds;

    size_t triangleCount() const { return faceNormals.size(); }
    void addTriangle(Vec3 a, Vec3 b, Vec3 c, Vec3 na, Vec3 nb, Vec3 nc);
    void addFlatTriangle(Vec3 a, Vec3 b, Vec3 c);
    void addFlatQuad(Vec3 a, Vec3 b, Vec3 c, Vec3 d);
    void append(const Mesh& other);

    // Distance along the ray to the nearest triangle hit, or a negative value.
    double intersect(Vec3 origin, Vec3 direction) const;
};

// Primitives, built where they stand so that a body's rest matrix is the identity.
Mesh makeBox(Vec3 centre, Vec3 size);
// A block between two points of the plane z = const, as wide as given, from z0 to z1.
Mesh makeBar(Vec3 a, Vec3 b, double width, double z0, double z1);
// A bar with round ends: the links of a mechanism.
Mesh makeRoundBar(Vec3 a, Vec3 b, double width, double z0, double z1);
Mesh makeCylinder(Vec3 base, Vec3 axis, double radius, double height, int segments = 48);
Mesh makeSphere(Vec3 centre, double radius, int bands = 24, int segments = 48);
// A floor at height y made of square cells, so that spot and point lights fall off smoothly.
Mesh makeFloor(const Box& area, double y, int cells);

// One body's worth of an OBJ file: a shape and the diffuse colour of its material.
struct ObjShape {
    std::string name;
    Mesh mesh;
    bool hasColour = false;
    std::string materialName;
    Vec3 colour;
};

// Reads an OBJ file (and its MTL beside it) in the file's own units. On failure returns false
// with the reason in error.
bool loadObj(const std::wstring& path, std::vector<ObjShape>& shapes, std::string& error);
