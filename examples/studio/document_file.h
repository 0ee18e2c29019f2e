// document_file.h - the studio's scene file (*.ovs) and the record blocks it keeps.
//
// A scene file holds what a Document holds: the bodies with their meshes and motion matrices,
// and the library's records as the library stores them, in the blocks of its Get* functions.
// Links and transmissions also keep their info texts, and each refers to its bodies or links
// by index; the host handles in the records are given anew by the document that reads them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "orvanta.h"
#include "scene.h"

// Writes the document to path (through a temporary file beside it, so that a failed save
// leaves the old file whole). Returns false with the reason in error.
bool saveDocument(const Document& document, const std::wstring& path, std::string& error);

// Reads a scene file into a new document; null with the reason in error when the file cannot
// be read or is damaged. Nothing in the file is trusted: every count and size is checked
// before the library sees a block.
std::unique_ptr<Document> openDocument(const std::wstring& path, std::string& error);

// ---- Blocks ----------------------------------------------------------------------------------

// A record's block as its Get* function writes it.
std::vector<uint8_t> recordBlock(Env* env);
std::vector<uint8_t> recordBlock(Lgt* light);
std::vector<uint8_t> recordBlock(Mat* mat);
std::vector<uint8_t> recordBlock(Lnk* link);
std::vector<uint8_t> recordBlock(Trn* trn);

// The info texts, without their terminators.
std::string linkInfo(Lnk* link);
std::string transmissionInfo(Trn* trn);

enum class RecordKind { Environment, Light, Material, Link, Transmission };

// A block with what is only true in this process taken out: the open tool's address becomes 0,
// the addresses of a material's images and of a link's path arrays become 1 where there is
// one. What the file stores, and what two blocks are compared by: everything else is the
// record's own.
std::vector<uint8_t> portableBlock(RecordKind kind, std::vector<uint8_t> block);

// Two documents compared record by record (environment, lights, materials, links,
// transmissions) by their portable blocks and info texts, and body by body by name, material,
// ground flag, motion matrix and mesh.
struct DocumentComparison {
    size_t records = 0;           // records compared
    size_t identicalRecords = 0;  // of them, with equal blocks (and info texts)
    size_t bodies = 0;            // bodies compared
    size_t identicalBodies = 0;
    std::vector<std::string> differences;  // one line each, "Material 2 (Floor): ..."

    bool identical() const { return differences.empty(); }
};
DocumentComparison compareDocuments(const Document& a, const Document& b);
