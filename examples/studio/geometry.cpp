// geometry.cpp - vectors, motion matrices, primitives and OBJ import.
#include "geometry.h"

#include <algorithm>
#include <cmath>

#include "text.h"

#define TINYOBJLOADER_IMPLEMENTATION
#include "tiny_obj_loader.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

// Two unit vectors square to axis and to each other, with u x v = axis.
void basisAround(Vec3 axis, Vec3& u, Vec3& v) {
    const Vec3 helper = std::fabs(axis.x) < 0.9 ? Vec3{1, 0, 0} : Vec3{0, 1, 0};
    u = normalise(cross(helper, axis));
    v = cross(axis, u);
}

// Eight corners, bit 0 along u, bit 1 along v, bit 2 along w, (u, v, w) right-handed.
void addHexahedron(Mesh& mesh, const Vec3 p[8]) {
    static const int faces[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                    {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
    for (const auto& f : faces) mesh.addFlatQuad(p[f[0]], p[f[1]], p[f[2]], p[f[3]]);
}

}  // namespace

double length(Vec3 a) {
    return std::sqrt(dot(a, a));
}

Vec3 normalise(Vec3 a) {
    const double l = length(a);
    return l > 0 ? a * (1.0 / l) : a;
}

// ---- Box -------------------------------------------------------------------------------------

void Box::add(Vec3 p) {
    min = {std::min(min.x, p.x), std::min(min.y, p.y), std::min(min.z, p.z)};
    max = {std::max(max.x, p.x), std::max(max.y, p.y), std::max(max.z, p.z)};
}

void Box::add(const Box& other) {
    if (other.empty()) return;
    add(other.min);
    add(other.max);
}

bool Box::overlaps(const Box& other, double tolerance) const {
    return min.x + tolerance < other.max.x && other.min.x + tolerance < max.x &&
           min.y + tolerance < other.max.y && other.min.y + tolerance < max.y &&
           min.z + tolerance < other.max.z && other.min.z + tolerance < max.z;
}

// ---- Matrix ----------------------------------------------------------------------------------

Vec3 Matrix::point(Vec3 p) const {
    return {p.x * m[0] + p.y * m[4] + p.z * m[8] + m[12],
            p.x * m[1] + p.y * m[5] + p.z * m[9] + m[13],
            p.x * m[2] + p.y * m[6] + p.z * m[10] + m[14]};
}

Vec3 Matrix::direction(Vec3 d) const {
    return {d.x * m[0] + d.y * m[4] + d.z * m[8], d.x * m[1] + d.y * m[5] + d.z * m[9],
            d.x * m[2] + d.y * m[6] + d.z * m[10]};
}

Matrix Matrix::inverse() const {
    // The 3 x 3 part by its adjugate, then the shift taken back through it.
    const double a = m[0], b = m[4], c = m[8], d = m[1], e = m[5], f = m[9], g = m[2], h = m[6],
                 i = m[10];
    const double A = e * i - f * h, B = -(d * i - f * g), C = d * h - e * g;
    const double det = a * A + b * B + c * C;
    Matrix r;
    if (std::fabs(det) < 1e-300) return r;
    const double s = 1.0 / det;
    r.m[0] = A * s, r.m[4] = -(b * i - c * h) * s, r.m[8] = (b * f - c * e) * s;
    r.m[1] = B * s, r.m[5] = (a * i - c * g) * s, r.m[9] = -(a * f - c * d) * s;
    r.m[2] = C * s, r.m[6] = -(a * h - b * g) * s, r.m[10] = (a * e - b * d) * s;
    const Vec3 shift = r.direction({m[12], m[13], m[14]});
    r.m[12] = -shift.x, r.m[13] = -shift.y, r.m[14] = -shift.z;
    return r;
}

Box transformBox(const Box& local, const Matrix& motion) {
    Box world;
    if (local.empty()) return world;
    for (int i = 0; i < 8; ++i) {
        world.add(
            motion.point({i & 1 ? local.max.x : local.min.x, i & 2 ? local.max.y : local.min.y,
                          i & 4 ? local.max.z : local.min.z}));
    }
    return world;
}

// ---- Mesh ------------------------------------------------------------------------------------

void Mesh::addTriangle(Vec3 a, Vec3 b, Vec3 c, Vec3 na, Vec3 nb, Vec3 nc) {
    corners.insert(corners.end(), {a, b, c});
    normals.insert(normals.end(), {na, nb, nc});
    faceNormals.push_back(normalise(cross(b - a, c - a)));
    bounds.add(a);
    bounds.add(b);
    bounds.add(c);
}

void Mesh::addFlatTriangle(Vec3 a, Vec3 b, Vec3 c) {
    const Vec3 n = normalise(cross(b - a, c - a));
    addTriangle(a, b, c, n, n, n);
}

void Mesh::addFlatQuad(Vec3 a, Vec3 b, Vec3 c, Vec3 d) {
    addFlatTriangle(a, b, c);
    addFlatTriangle(a, c, d);
}

void Mesh::append(const Mesh& other) {
    corners.insert(corners.end(), other.corners.begin(), other.corners.end());
    normals.insert(normals.end(), other.normals.begin(), other.normals.end());
    faceNormals.insert(faceNormals.end(), other.faceNormals.begin(), other.faceNormals.end());
    bounds.add(other.bounds);
}

double Mesh::intersect(Vec3 origin, Vec3 direction) const {
    // Moeller-Trumbore, both sides: a click should find thin and open meshes too.
    double nearest = -1;
    for (size_t k = 0; k + 2 < corners.size(); k += 3) {
        const Vec3 e1 = corners[k + 1] - corners[k], e2 = corners[k + 2] - corners[k];
        const Vec3 p = cross(direction, e2);
        const double det = dot(e1, p);
        if (std::fabs(det) < 1e-12) continue;
        const double inv = 1.0 / det;
        const Vec3 t = origin - corners[k];
        const double u = dot(t, p) * inv;
        if (u < 0 || u > 1) continue;
        const Vec3 q = cross(t, e1);
        const double v = dot(direction, q) * inv;
        if (v < 0 || u + v > 1) continue;
        const double distance = dot(e2, q) * inv;
        if (distance > 0 && (nearest < 0 || distance < nearest)) nearest = distance;
    }
    return nearest;
}

// ---- Primitives ------------------------------------------------------------------------------

Mesh makeBox(Vec3 centre, Vec3 size) {
    Vec3 p[8];
    for (int i = 0; i < 8; ++i) {
        p[i] = centre + Vec3{(i & 1 ? 0.5 : -0.5) * size.x, (i & 2 ? 0.5 : -0.5) * size.y,
                             (i & 4 ? 0.5 : -0.5) * size.z};
    }
    Mesh mesh;
    addHexahedron(mesh, p);
    return mesh;
}

Mesh makeBar(Vec3 a, Vec3 b, double width, double z0, double z1) {
    const Vec3 along = normalise(Vec3{b.x - a.x, b.y - a.y, 0});
    const Vec3 across = Vec3{-along.y, along.x, 0} * (width / 2);
    Vec3 p[8];
    for (int i = 0; i < 8; ++i) {
        const Vec3 end = i & 1 ? b : a;
        const Vec3 side = i & 2 ? across : across * -1.0;
        p[i] = Vec3{end.x + side.x, end.y + side.y, i & 4 ? z1 : z0};
    }
    Mesh mesh;
    addHexahedron(mesh, p);
    return mesh;
}

Mesh makeRoundBar(Vec3 a, Vec3 b, double width, double z0, double z1) {
    Mesh mesh = makeBar(a, b, width, z0, z1);
    mesh.append(makeCylinder({a.x, a.y, z0}, {0, 0, 1}, width / 2, z1 - z0));
    mesh.append(makeCylinder({b.x, b.y, z0}, {0, 0, 1}, width / 2, z1 - z0));
    return mesh;
}

Mesh makeCylinder(Vec3 base, Vec3 axis, double radius, double height, int segments) {
    Vec3 u, v;
    axis = normalise(axis);
    basisAround(axis, u, v);
    const Vec3 top = base + axis * height;
    Mesh mesh;
    for (int s = 0; s < segments; ++s) {
        const double a0 = 2 * kPi * s / segments, a1 = 2 * kPi * (s + 1) / segments;
        const Vec3 n0 = u * std::cos(a0) + v * std::sin(a0);
        const Vec3 n1 = u * std::cos(a1) + v * std::sin(a1);
        const Vec3 b0 = base + n0 * radius, b1 = base + n1 * radius;
        const Vec3 t0 = top + n0 * radius, t1 = top + n1 * radius;
        mesh.addTriangle(b0, b1, t1, n0, n1, n1);
        mesh.addTriangle(b0, t1, t0, n0, n1, n0);
        mesh.addFlatTriangle(top, t0, t1);
        mesh.addFlatTriangle(base, b1, b0);
    }
    return mesh;
}

Mesh makeSphere(Vec3 centre, double radius, int bands, int segments) {
    auto normalAt = [&](int band, int segment) {
        const double theta = kPi * band / bands, phi = 2 * kPi * segment / segments;
        return Vec3{std::sin(theta) * std::cos(phi), std::cos(theta),
                    -std::sin(theta) * std::sin(phi)};
    };
    Mesh mesh;
    for (int band = 0; band < bands; ++band) {
        for (int segment = 0; segment < segments; ++segment) {
            const Vec3 n00 = normalAt(band, segment), n01 = normalAt(band, segment + 1);
            const Vec3 n10 = normalAt(band + 1, segment), n11 = normalAt(band + 1, segment + 1);
            auto at = [&](Vec3 n) { return centre + n * radius; };
            if (band > 0) mesh.addTriangle(at(n00), at(n10), at(n01), n00, n10, n01);
            if (band < bands - 1) mesh.addTriangle(at(n01), at(n10), at(n11), n01, n10, n11);
        }
    }
    return mesh;
}

Mesh makeFloor(const Box& area, double y, int cells) {
    Mesh mesh;
    const Vec3 up{0, 1, 0};
    const double dx = (area.max.x - area.min.x) / cells, dz = (area.max.z - area.min.z) / cells;
    for (int i = 0; i < cells; ++i) {
        for (int k = 0; k < cells; ++k) {
            const double x0 = area.min.x + i * dx, z0 = area.min.z + k * dz;
            const Vec3 a{x0, y, z0}, b{x0, y, z0 + dz}, c{x0 + dx, y, z0 + dz}, d{x0 + dx, y, z0};
            mesh.addTriangle(a, b, c, up, up, up);
            mesh.addTriangle(a, c, d, up, up, up);
        }
    }
    return mesh;
}

// ---- OBJ import ------------------------------------------------------------------------------

bool loadObj(const std::wstring& path, std::vector<ObjShape>& shapes, std::string& error) {
    tinyobj::ObjReader reader;
    tinyobj::ObjReaderConfig config;
    config.triangulate = true;
    config.vertex_color = false;
    if (!reader.ParseFromFile(narrow(path), config)) {
        error = reader.Error().empty() ? "the file cannot be read" : reader.Error();
        return false;
    }
    const tinyobj::attrib_t& attrib = reader.GetAttrib();
    const std::vector<tinyobj::material_t>& materials = reader.GetMaterials();
    const std::vector<tinyobj::real_t>& v = attrib.vertices;
    auto vertex = [&](int index) {
        const size_t i = 3 * size_t(index);
        return Vec3{v[i], v[i + 1], v[i + 2]};
    };

    // Corner normals: the file's own, else the area-weighted mean of the faces at a vertex.
    std::vector<Vec3> smooth(v.size() / 3);
    for (const tinyobj::shape_t& shape : reader.GetShapes()) {
        const auto& idx = shape.mesh.indices;
        for (size_t k = 0; k + 2 < idx.size(); k += 3) {
            const Vec3 a = vertex(idx[k].vertex_index);
            const Vec3 n =
                cross(vertex(idx[k + 1].vertex_index) - a, vertex(idx[k + 2].vertex_index) - a);
            for (int c = 0; c < 3; ++c) {
                Vec3& s = smooth[size_t(idx[k + c].vertex_index)];
                s = s + n;
            }
        }
    }

    const size_t normalCount = attrib.normals.size() / 3;
    for (const tinyobj::shape_t& shape : reader.GetShapes()) {
        ObjShape body;
        body.name = shape.name;
        const auto& idx = shape.mesh.indices;
        for (size_t k = 0; k + 2 < idx.size(); k += 3) {
            Vec3 p[3], n[3];
            for (int c = 0; c < 3; ++c) {
                const tinyobj::index_t& corner = idx[k + c];
                p[c] = vertex(corner.vertex_index);
                if (corner.normal_index >= 0 && size_t(corner.normal_index) < normalCount) {
                    const size_t j = 3 * size_t(corner.normal_index);
                    n[c] = normalise(
                        {attrib.normals[j], attrib.normals[j + 1], attrib.normals[j + 2]});
                } else {
                    n[c] = normalise(smooth[size_t(corner.vertex_index)]);
                }
            }
            body.mesh.addTriangle(p[0], p[1], p[2], n[0], n[1], n[2]);
        }
        if (body.mesh.triangleCount() == 0) continue;
        // A shape takes the colour of the material of its first face.
        const auto& ids = shape.mesh.material_ids;
        if (!ids.empty() && ids[0] >= 0 && size_t(ids[0]) < materials.size()) {
            const tinyobj::material_t& m = materials[size_t(ids[0])];
            body.hasColour = true;
            body.materialName = m.name;
            body.colour = {m.diffuse[0], m.diffuse[1], m.diffuse[2]};
        }
        shapes.push_back(std::move(body));
    }
    if (shapes.empty()) {
        error = "the file holds no triangle";
        return false;
    }
    return true;
}
