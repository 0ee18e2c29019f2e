/*
 * orvanta.h - the public interface of OrvantaDLL.dll
 *
 * OrvantaDLL is the rendering and kinematics library that a 3D design application loads into
 * its own process. The host owns the geometry and its OpenGL viewer; the library owns how the
 * geometry looks (materials, lights, environment) and how it moves (links, transmissions).
 *
 * Sections
 *   1. Conventions and scalar types
 *   2. Record layouts: Env, Lgt, Mat (with its texture slots), Lnk, Trn
 *   3. Appearance: accessors and viewer definitions
 *   4. Records: creation, disposal, blocks, names and the family-specific setters
 *   5. Kinematics: the host's object-tree callbacks and the joint tree
 *   6. Raytracing
 *   7. Textures: bitmap files and text made into a slot's square image
 *   8. Editors: the record families' tools (Windows only)
 *
 * Every record is a fixed-size block packed on 4-byte boundaries; hosts store the blocks byte
 * for byte in their documents, so the layouts below are a storage format. A record handle is
 * the address of the record, which is also the address of its 64-byte name.
 *
 * Valid C99 and C++. No platform header is needed to read or include this file.
 */
#ifndef ORVANTA_H
#define ORVANTA_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---------------------------------------------------------------------------------------- */
/* 1. Conventions and scalar types                                                           */
/* ---------------------------------------------------------------------------------------- */

/* Exports use the platform's ordinary 64-bit calling convention and undecorated names. */
#if defined(ORVANTA_BUILDING) && !defined(_WIN32) && defined(__GNUC__)
#define ORVANTA_API __attribute__((visibility("default")))
#else
#define ORVANTA_API
#endif

/** Three doubles: a point, a direction, angles in degrees (about X, Y, Z), scale factors, or a
 *  colour (x red, y green, z blue, each 0..1). Packed like the records that hold it, so a
 *  pointer to a record's vector field is a valid pointer to an OrvVec3. */
#pragma pack(push, 4)
typedef struct OrvVec3 {
    double x, y, z;
} OrvVec3;
#pragma pack(pop)

/** A Win32 colour: red in the low byte, then green, then blue (0x00BBGGRR). */
typedef uint32_t OrvColorRef;

/* ---------------------------------------------------------------------------------------- */
/* 2. Record layouts                                                                         */
/* ---------------------------------------------------------------------------------------- */

#pragma pack(push, 4)

/** Scene environment: ambient light, background, standard lights and fog. 324 bytes. */
typedef struct Env {
    char name[64];            /**<   0 record name, zero-terminated, default "Szene" */
    OrvVec3 reservedA;        /**<  64 kept in blocks, read by nothing; default 0, 0, 0 */
    OrvVec3 reservedB;        /**<  88 kept in blocks, read by nothing; default 1, 1, 1 */
    uint32_t standardLights;  /**< 112 bit 0 use standard lights; bits 1-6 front, back, left,
                                        right, top, bottom; bit 7 camera. Default 129 */
    double brightness;        /**< 116 overall light intensity 0..2, default 0.8 */
    OrvVec3 ambient;          /**< 124 ambient colour, default 0.18 grey */
    OrvVec3 background;       /**< 148 background (clear) colour, default white */
    OrvVec3 fogColor;         /**< 172 fog colour, default black */
    double fogDensity;        /**< 196 fog is on exactly when this is greater than 0 */
    double fogNear;           /**< 204 fog start distance, default 0 */
    double fogFar;            /**< 212 fog end distance, default 10 */
    int32_t fogType;          /**< 220 0 linear, 1 exponential, 2 exponential squared */
    uint8_t reserved1[32];    /**< 224 zero */
    void* tool;               /**< 256 the open editor, or null; never taken from a block */
    uint8_t reserved2[60];    /**< 264 zero */
} Env;

/** Light source. 248 bytes. */
typedef struct Lgt {
    char name[64];            /**<   0 record name, default "Lichtquelle" */
    OrvVec3 color;            /**<  64 light colour, default white */
    OrvVec3 position;         /**<  88 position in scene coordinates, default 1, 1, 1 */
    OrvVec3 target;           /**< 112 the point the light aims at, default origin */
    int32_t type;             /**< 136 0 parallel, 1 spot, 2 point */
    double gloss;             /**< 140 share of the colour in the specular term 0..1, default 0.5 */
    double angle;             /**< 148 spot cut-off angle in degrees 0..90, default 30 */
    double sharpness;         /**< 156 spot exponent 0..128, default 0 */
    double falloff;           /**< 164 attenuation 0..1, default 0 */
    uint32_t shadow;          /**< 172 the light casts shadows when raytraced, default 1 */
    void* tool;               /**< 176 the open editor, or null */
    uint8_t reserved[64];     /**< 184 zero */
} Lgt;

/** One of a material's four texture slots (surface, reflection, transparency, structure).
 *  1,496 bytes. Its image is square, a power of two on the edge, RGBA, bottom row first. */
typedef struct OrvTextureSlot {
    uint32_t projection;      /**<    0 0 plane, 1 box, 2 cylinder, 3 sphere; default 1 */
    uint32_t source;          /**<    4 0 none, 1 image file, 2 text */
    char imagePath[256];      /**<    8 path of the bitmap file */
    char text[1024];          /**<  264 text of a text texture, lines separated by line breaks */
    OrvColorRef textColor;    /**< 1288 text colour, default black */
    OrvColorRef textBackground; /**< 1292 text background colour, default white */
    uint8_t textFont[60];     /**< 1296 the font, a Win32 LOGFONTA */
    uint32_t textSize;        /**< 1356 edge of the text image in pixels, default 256 */
    uint32_t textAlignH;      /**< 1360 0 left, 1 centre, 2 right */
    uint32_t textAlignV;      /**< 1364 0 top, 4 middle, 8 bottom */
    uint32_t mode;            /**< 1368 0 mix (modulate), 1 cover (decal) */
    uint32_t filter;          /**< 1372 0 linear, 1 nearest */
    uint32_t grey;            /**< 1376 grey values; default 0 in slot 0, 1 in slots 1 to 3 */
    uint32_t inverted;        /**< 1380 inverted colours */
    uint32_t tileX;           /**< 1384 repeat in u, default 1 */
    uint32_t tileY;           /**< 1388 repeat in v, default 1 */
    uint32_t mirrorX;         /**< 1392 mirror left to right */
    uint32_t mirrorY;         /**< 1396 mirror top to bottom */
    uint32_t padded;          /**< 1400 last answer to the not-square question: 1 pad, 0 cut */
    double intensity;         /**< 1404 factor on the texel colours 0..1, default 1 */
    double size;              /**< 1412 half the edge of one tile in scene units, default 1 */
    uint32_t pixelBytes;      /**< 1420 bytes in the pixel buffer, 4 x side x side */
    uint32_t side;            /**< 1424 edge of the square image in pixels */
    uint8_t* pixels;          /**< 1428 owned RGBA pixels, or null */
    uint8_t reserved[60];     /**< 1436 zero */
} OrvTextureSlot;

/** Material. 6,300 bytes; its blocks carry the texture images behind the record. */
typedef struct Mat {
    char name[64];            /**<    0 record name, default "Material" */
    OrvVec3 ambient;          /**<   64 ambient colour, default white */
    OrvVec3 diffuse;          /**<   88 diffuse colour, default 0.8 grey */
    OrvVec3 specular;         /**<  112 specular colour, default 0.6 grey */
    OrvVec3 emission;         /**<  136 emitted colour, default black */
    double shininess;         /**<  160 specular exponent 0..100, default 10 */
    double opacity;           /**<  168 1 opaque, 0 fully transparent */
    double reflection;        /**<  176 reflection share 0..1, default 0 */
    double refraction;        /**<  184 index of refraction 1..2.5, default 1 */
    uint32_t castShadow;      /**<  192 the body casts shadows, default 1 */
    uint32_t receiveShadow;   /**<  196 the body receives shadows, default 1 */
    OrvTextureSlot slots[4];  /**<  200 surface, reflection, transparency, structure */
    OrvVec3 texturePosition;  /**< 6184 texture placement offset */
    OrvVec3 textureRotation;  /**< 6208 texture placement rotation about x, y, z, degrees */
    void* tool;               /**< 6232 the open editor, or null */
    uint8_t reserved[60];     /**< 6240 zero */
} Mat;

/** One motion phase of a drive. 36 bytes. */
typedef struct OrvPhase {
    double W;                 /**<  0 path: the distance or angle that the phase adds */
    double T;                 /**<  8 duration, in the host's time unit */
    int32_t F;                /**< 16 motion function: 0 linear, 1 sinus, 2 cosinus,
                                      3 beschleunigt, 4 verzoegert */
    int32_t H;                /**< 20 kept and saved, not used by the evaluation */
    uint8_t reserved[12];     /**< 24 zero */
} OrvPhase;

/** The drive of one axis of a link. 9,308 bytes. */
typedef struct OrvDrive {
    OrvPhase phases[256];     /**<    0 the motion phases, in running order */
    int32_t count;            /**< 9216 phases in use, 0..256 */
    int32_t on;               /**< 9220 drive switched on, default 1 */
    int32_t inverse;          /**< 9224 motion with its sign reversed */
    int32_t cyclic;           /**< 9228 starts again after the last phase, default 1 */
    int32_t stretch;          /**< 9232 time stretched with the damping */
    double damping;           /**< 9236 damping constant per unit of time */
    uint8_t reserved[64];     /**< 9244 zero */
} OrvDrive;

/** Link: a joint that moves a target body relative to a source body along a linear and a
 *  rotational axis. 19,080 bytes; its blocks carry the path arrays. */
typedef struct Lnk {
    char name[64];            /**<     0 link name */
    int32_t lin;              /**<    64 linear axis in use, default 1 */
    int32_t rot;              /**<    68 rotational axis in use, default 1 */
    int32_t coupled;          /**<    72 axes coupled by ratio */
    int32_t follow;           /**<    76 follower link: its values follow from a closed loop */
    int32_t collCheck;        /**<    80 collision check wanted */
    double linMin;            /**<    84 lower limit of the linear value, default 0 */
    double linMax;            /**<    92 upper limit of the linear value, default 1 */
    double linCur;            /**<   100 current linear value */
    double linOffset;         /**<   108 linear drive offset, added to linCur */
    double rotMin;            /**<   116 lower angle limit in degrees, default -180 */
    double rotMax;            /**<   124 upper angle limit in degrees, default 180 */
    double rotCur;            /**<   132 current angle in degrees */
    double rotOffset;         /**<   140 rotational drive offset in degrees, added to rotCur */
    double ratio;             /**<   148 angle change per unit of linear change */
    double linStep;           /**<   156 step of the linear value, default 1 */
    double rotStep;           /**<   164 step of the angle, default 1 */
    int32_t pathCount;        /**<   172 number of path points; 0: the straight axis */
    OrvVec3 axisA;            /**<   176 axis point A, default 0, 1, 0 */
    OrvVec3 axisB;            /**<   200 axis point B, default origin */
    OrvVec3* pathPoints;      /**<   224 owned path points, or null */
    double* pathBulges;       /**<   232 owned signed arc heights, one per path point, or null */
    double pathFrame[16];     /**<   240 path frame matrix, applied when a path is in use */
    OrvDrive linDrive;        /**<   368 drive of the linear axis */
    OrvDrive rotDrive;        /**<  9676 drive of the rotational axis */
    uint64_t sourceBody;      /**< 18984 the body the link starts from */
    uint64_t targetBody;      /**< 18992 the body the link moves */
    uint64_t linkObject;      /**< 19000 the host object that carries the link */
    void* tool;               /**< 19008 the open link editor, or null */
    uint8_t reserved[64];     /**< 19016 zero */
} Lnk;

/** Transmission: couples two links by ratios. 200 bytes. */
typedef struct Trn {
    char name[64];            /**<   0 record name */
    int32_t active;           /**<  64 coupling in force, default 1 */
    int32_t invert;           /**<  68 direction reversed */
    double rotRot;            /**<  72 ratio rotational source to rotational target, default 1 */
    double rotLin;            /**<  80 ratio rotational source to linear target, default 1 */
    double linLin;            /**<  88 ratio linear source to linear target, default 1 */
    double linRot;            /**<  96 ratio linear source to rotational target, default 1 */
    uint64_t source;          /**< 104 the driving link (host's reference) */
    uint64_t target;          /**< 112 the driven link */
    uint64_t object;          /**< 120 the host object that represents the transmission */
    void* tool;               /**< 128 the open editor, or null */
    uint8_t reserved[64];     /**< 136 zero */
} Trn;

#pragma pack(pop)

/* ---------------------------------------------------------------------------------------- */
/* 3. Appearance: accessors and viewer definitions                                           */
/*    Call the Viewer functions with your own OpenGL context current, before you draw.       */
/* ---------------------------------------------------------------------------------------- */

/** The material's opacity (1 opaque, 0 fully transparent). */
ORVANTA_API double MatAlpha(const Mat* mat);

/** The surface slot's source: nonzero (1 image, 2 text) when the material shows a texture. */
ORVANTA_API int32_t IsMatTexture(const Mat* mat);

/** Sets colours, shininess, blending and the surface texture of the current context for mat;
 *  without a mat, a plain material of the host colour. alpha is capped by the opacity. */
ORVANTA_API void ViewerDefineMat(const Mat* mat, OrvColorRef colour, double alpha,
                                 int32_t withTexture);

/** Sets the clear colour (when setClearColour is nonzero) and fog; without an env, the
 *  built-in environment with the host colour as background. */
ORVANTA_API void ViewerDefineEnv(const Env* env, OrvColorRef colour, int32_t setClearColour);

/** Sets the light model and OpenGL lights 0 upward from the scene lights (a null-terminated
 *  array) or the environment's standard lights; disables lights beyond the new count.
 *  *lightsOn: in, the number of lights on before; out, the number on now. eye and view
 *  (target, then up vector) may be null. */
ORVANTA_API void ViewerDefineLgts(const Env* env, OrvColorRef colour, Lgt* const* lights,
                                  int32_t* lightsOn, const double eye[3], const double view[6]);

/** Texture coordinates of a triangle's corners (9 doubles) with the face normal, from the
 *  surface slot's projection, tile size and the material's texture placement: uv receives three
 *  (u, v) pairs, one unit being one tile. boxMin and boxMax (the body's bounding box) scale the
 *  cylinder and sphere projections; origin shifts the corners. Each may be null. Returns 1, or
 *  0 without writing when the surface slot shows no texture. */
ORVANTA_API int32_t ViewerMapTexture2(const Mat* mat, const double corners[9],
                                      const double normal[3], double uv[6],
                                      const double boxMin[3], const double boxMax[3],
                                      const double origin[3]);
/** ViewerMapTexture2 without bounding box and origin. */
ORVANTA_API int32_t ViewerMapTexture(const Mat* mat, const double corners[9],
                                     const double normal[3], double uv[6]);
/** What a plain two-dimensional texture matrix needs: the tile lengths in u and v, the placement
 *  (x, y offset and tile length) and the rotation about z in degrees. Returns the surface
 *  image's edge in pixels. (The name is spelled with one p.) */
ORVANTA_API uint32_t TextureMaping(const Mat* mat, double tile[2], double placement[3],
                                   double* rotation);

/* ---------------------------------------------------------------------------------------- */
/* 4. Records: creation, disposal, blocks, names and the family-specific setters             */
/*    A handle is the record's address. Blocks: Get with a null buffer reports the size,     */
/*    then Get with a buffer of that size writes the block; Put reads it back.               */
/* ---------------------------------------------------------------------------------------- */

/** New environment with the built-in values and the stored default "DefaultEnvironment";
 *  name is copied over the default name "Szene" (at most 64 characters; null keeps it). */
ORVANTA_API Env* CreateEnv(const char* name);
/** New light, defaults from "DefaultLight" (never its position or aim); default name
 *  "Lichtquelle". */
ORVANTA_API Lgt* CreateLgt(const char* name);
/** New material, defaults from "DefaultMaterial" (never its texture slots); default name
 *  "Material". */
ORVANTA_API Mat* CreateMat(const char* name);
/** New link with the built-in values (no stored default, no default name). */
ORVANTA_API Lnk* CreateLnk(const char* name);
/** New transmission: active, all four ratios 1 (no stored default, no default name). */
ORVANTA_API Trn* CreateTrn(const char* name);

/** Closes the record's open editor, frees what the record owns and the record. Returns 1. */
ORVANTA_API int32_t DisposeEnv(Env* env);
ORVANTA_API int32_t DisposeLgt(Lgt* lgt);
/** Also waits for the material editor's thread, serving the caller's messages meanwhile. */
ORVANTA_API int32_t DisposeMat(Mat* mat);
ORVANTA_API int32_t DisposeLnk(Lnk* lnk);
ORVANTA_API int32_t DisposeTrn(Trn* trn);

/** Stores the block size in *size; with a non-null buffer also writes the block. Returns 1.
 *  Env, Lgt and Trn blocks are the record; a Mat block appends each texture slot's image; a
 *  Lnk block carries its path points and arc heights over the record's bytes from offset 8. */
ORVANTA_API int32_t GetEnv(Env* env, void* buffer, uint32_t* size);
ORVANTA_API int32_t GetLgt(Lgt* lgt, void* buffer, uint32_t* size);
ORVANTA_API int32_t GetMat(Mat* mat, void* buffer, uint32_t* size);
ORVANTA_API int32_t GetLnk(Lnk* lnk, void* buffer, uint32_t* size);
ORVANTA_API int32_t GetTrn(Trn* trn, void* buffer, uint32_t* size);

/** Frees what the record owns, copies the block in, rebuilds the owned parts and clears the
 *  editor pointer. Returns 1. */
ORVANTA_API int32_t PutEnv(Env* env, const void* block);
ORVANTA_API int32_t PutLgt(Lgt* lgt, const void* block);
ORVANTA_API int32_t PutMat(Mat* mat, const void* block);
ORVANTA_API int32_t PutLnk(Lnk* lnk, const void* block);
ORVANTA_API int32_t PutTrn(Trn* trn, const void* block);

/** Background colour from a Win32 colour. Returns 1. */
ORVANTA_API int32_t SetEnv(Env* env, OrvColorRef colour);
/** Position, aim point, type, colour times intensity and spot cut-off angle. Returns 1. */
ORVANTA_API int32_t SetLgt(Lgt* lgt, const double position[3], const double aim[3], int32_t type,
                           OrvColorRef colour, double intensity, double spotAngle);
/** Geometry of a link. count >= 1: a holds count points, b count arc heights, c the 128-byte
 *  path frame; the first two points become the axis points and linMax the path length.
 *  count < 1: a and b are the two axis points and linMax their distance. Returns 1. */
ORVANTA_API int32_t SetLnk(Lnk* lnk, const void* a, const void* b, const void* c, int32_t count,
                           uint64_t baseBody, uint64_t targetBody, uint64_t linkObject);
/** Sets the current angle (when rot) and the current linear value (when lin) to 0. Returns 0. */
ORVANTA_API int32_t ResetLnk(Lnk* lnk);
/** Stores the driving link, the driven link and the host object. Returns 1. */
ORVANTA_API int32_t SetTrn(Trn* trn, uint64_t source, uint64_t target, uint64_t object);

/** Copies any record's name up to and including its terminator into out: a name set longer
 *  by SetHandleName reads back whole, and a 64-character name given to Create* (no terminator
 *  in its 64 bytes) reads on into the bytes behind it. At most 127 characters and a
 *  terminator: out needs 128 bytes. Returns 1. */
ORVANTA_API int32_t GetHandleName(const void* handle, char* out);
/** Copies name with its terminator over any record's start; a name longer than 63 characters
 *  overwrites the fields behind it. At most 127 characters are taken, so that no record's
 *  editor pointer is reached. Returns 1. */
ORVANTA_API int32_t SetHandleName(void* handle, const char* name);
/** 1 when two materials (records, or blocks when the flag is nonzero) are equal: names up to
 *  their terminators, every field, and the image data of every textured slot. */
ORVANTA_API int32_t MatEqual(const void* a, int32_t aIsBlock, const void* b, int32_t bIsBlock);
/** Expert mode: material editors opened from now on show one page per texture slot. */
ORVANTA_API int32_t SetExpertMode(int32_t on);

/** Writes the link's info text ("Key=value;" fields, zero values left out) into text, which
 *  must hold GetLnkInfoSize(lnk) bytes. Returns 1. */
ORVANTA_API int32_t GetLnkInfo(Lnk* lnk, char* text);
/** The length GetLnkInfo will write, terminator included. */
ORVANTA_API uint32_t GetLnkInfoSize(const Lnk* lnk);
/** Sets every field the link info text carries from text; absent fields become 0. Returns 1
 *  when the text has an "RDP=" field, else 0. Point counts are kept as given, but only the
 *  256 points of each table are read. */
ORVANTA_API int32_t PutLnkInfo(Lnk* lnk, const char* text);
/** Writes the transmission's info text ("Active=", "Invert=", the four ratios). Returns 1. */
ORVANTA_API int32_t GetTrnInfo(Trn* trn, char* text);
/** Sets active, invert and the ratios from text (absent: 0). Returns 1 when the text has a
 *  "RotLin=" field, else 0. */
ORVANTA_API int32_t PutTrnInfo(Trn* trn, const char* text);

/** The transmission's driven link and its host object. */
ORVANTA_API uint64_t TrnTarget(const Trn* trn);
ORVANTA_API uint64_t ObjOfTrn(const Trn* trn);

/* ---------------------------------------------------------------------------------------- */
/* 5. Kinematics: the host's object-tree callbacks and the joint tree                        */
/*    All kinematic calls must come from one thread.                                        */
/* ---------------------------------------------------------------------------------------- */

typedef uint64_t (*OrvFirstChildFn)(uint64_t object);  /**< 0 = scene root; 0 when none */
typedef uint64_t (*OrvNextSiblingFn)(uint64_t object);
typedef uint64_t (*OrvParentFn)(uint64_t object);       /**< 0 at the top */
typedef uint64_t (*OrvFirstLinkFn)(uint64_t object);    /**< first link item of a body */
typedef uint64_t (*OrvNextLinkFn)(uint64_t linkItem);
typedef Lnk* (*OrvLinkRecordFn)(uint64_t linkItem);
typedef uint64_t (*OrvFirstTrnFn)(uint64_t linkObject);
typedef uint64_t (*OrvNextTrnFn)(uint64_t trnItem);
typedef Trn* (*OrvTrnRecordFn)(uint64_t trnItem);
typedef void (*OrvGetObjectNameFn)(uint64_t object, char name[256]);
typedef void (*OrvGetMatrixFn)(uint64_t object, double m[16]);
typedef void (*OrvSetMatrixFn)(uint64_t object, const double m[16]);
typedef int32_t (*OrvCheckCollisionFn)(uint64_t a, uint64_t b, int32_t flag);
typedef void (*OrvBeginUpdateFn)(void);
typedef void (*OrvEndUpdateFn)(void);

/** Installs the fifteen host callbacks; returns the last one. */
ORVANTA_API OrvEndUpdateFn KinematicCallback(
    OrvFirstChildFn firstChild, OrvNextSiblingFn nextSibling, OrvParentFn parent,
    OrvFirstLinkFn firstLink, OrvNextLinkFn nextLink, OrvLinkRecordFn linkRecord,
    OrvFirstTrnFn firstTrn, OrvNextTrnFn nextTrn, OrvTrnRecordFn trnRecord,
    OrvGetObjectNameFn getObjectName, OrvGetMatrixFn getMatrix, OrvSetMatrixFn setMatrix,
    OrvCheckCollisionFn checkCollision, OrvBeginUpdateFn beginUpdate,
    OrvEndUpdateFn endUpdate);
/** Builds the fixed-body list and the joint tree from the host's objects and links. With a
 *  non-null offendingLink also checks the structure: 0 (after a message box) with the
 *  offending link's host object stored there when it is recursive or has an unsupported
 *  follower, else 1. */
ORVANTA_API int32_t KinematicInit(uint64_t* offendingLink);
/** The fixed-list cell after previousCell (the first for null), or null at the end; the outs
 *  receive its tree node and fixed body. */
ORVANTA_API void* NextFix(void* previousCell, void** node, uint64_t* fixedBody);
/** The joint below node after previousJoint (the first for null), or null at the end; the outs
 *  receive its child node, the link's host object and the child's body. */
ORVANTA_API void* NextJnt(void* node, void* previousJoint, void** childNode, uint64_t* linkObject,
                          uint64_t* childBody);
/** Advances every drive to time, passes the changes on through couplings and transmissions,
 *  sets every moved body's matrix down the joint tree, closes the follower loops and, with
 *  collisionCheck nonzero, asks CheckCollision about pairs of second-level objects. Returns 0,
 *  1 when a follower loop stays open, or 2 when a collision was found. */
ORVANTA_API int32_t Animation(double time, int32_t collisionCheck);
/** The link's target body, its host object, and whether it is a follower. */
ORVANTA_API uint64_t LnkTarget(const Lnk* lnk);
ORVANTA_API uint64_t ObjOfLnk(const Lnk* lnk);
ORVANTA_API int32_t LnkIsFollower(const Lnk* lnk);

/* ---------------------------------------------------------------------------------------- */
/* 6. Raytracing                                                                             */
/* ---------------------------------------------------------------------------------------- */

/** Fills one triangle into the out-arguments (all but user); returns 0 when none is left. */
typedef int32_t (*OrvGeometryCallback)(int64_t* newBody, Mat** material, OrvColorRef* colour,
                                       double* opacity, int32_t* twoSided, double corners[9],
                                       double cornerNormals[9], double faceNormal[3], void* user);
/** The long form: also the body's texture placement box (minimum, maximum, origin). */
typedef int32_t (*OrvGeometryCallback2)(int64_t* newBody, Mat** material, OrvColorRef* colour,
                                        double* opacity, int32_t* twoSided, double corners[9],
                                        double cornerNormals[9], double faceNormal[3],
                                        double boxMin[3], double boxMax[3], double origin[3],
                                        void* user);
/** A finished row on the caller's thread: count RGB triples, null with a dc; 0 cancels. */
typedef int32_t (*OrvRowCallback)(const uint8_t* rgb, int32_t count, int32_t row, void* user);

/** Raytraces width x height pixels into the device context dc (an HDC, or null) at (x0, y0) and
 *  hands each row to rowCallback; returns nonzero when its hidden window was destroyed. */
ORVANTA_API int32_t RaytraceToDevice(void* dc, const double eye[3], const double target[3],
                                     const double up[3], double fov, double aspect, double shiftX,
                                     double shiftY, double zoom, int32_t x0, int32_t y0,
                                     int32_t width, int32_t height, const Env* env,
                                     OrvColorRef background, Lgt* const* lights, int32_t quick,
                                     int32_t unused, OrvGeometryCallback geometry, void* user,
                                     OrvRowCallback rowCallback, void* rowUser);
/** RaytraceToDevice with the long-form geometry callback. */
ORVANTA_API int32_t RaytraceToDevice2(void* dc, const double eye[3], const double target[3],
                                      const double up[3], double fov, double aspect,
                                      double shiftX, double shiftY, double zoom, int32_t x0,
                                      int32_t y0, int32_t width, int32_t height, const Env* env,
                                      OrvColorRef background, Lgt* const* lights, int32_t quick,
                                      int32_t unused, OrvGeometryCallback2 geometry, void* user,
                                      OrvRowCallback rowCallback, void* rowUser);
/** Worker threads of later renders: 0 one per core, default 2; the image stays the same. */
ORVANTA_API int32_t SetRaytraceThreads(int32_t n);

/* ---------------------------------------------------------------------------------------- */
/* 7. Textures: bitmap files and text made into a slot's square image                       */
/*    A slot's image is square, a power of two on the edge (at least 2, at most 8192), RGBA  */
/*    with alpha 255, bottom row first, with the slot's mirrorX, mirrorY, inverted and grey  */
/*    already applied. The pixels are replaced under the library's lock, so a viewer may    */
/*    draw the material meanwhile. slot: 0 surface, 1 reflection, 2 transparency,          */
/*    3 structure.                                                                          */
/* ---------------------------------------------------------------------------------------- */

/** Loads a Windows bitmap file (*.bmp: 1, 4, 8, 16, 24 or 32 bits, RLE4 and RLE8, OS/2 and
 *  V4/V5 headers) into a slot, as the texture page's image button does: builds the square
 *  image, sets source = 1 and imagePath = path (at most 255 characters). A picture that is not
 *  square is padded with black to the right or downward (pad 1), cut to its top-left square
 *  (pad 0), or the user is asked (pad -1, which also stores the answer in padded). Shows no
 *  message on failure. Returns 1, or 0 when the file cannot be read or the user cancels; the
 *  slot then keeps its previous pixels and fields. */
ORVANTA_API int32_t LoadMatTexture(Mat* mat, int32_t slot, const char* path, int32_t pad);

/** Rebuilds a slot's pixels after a change of source, grey, inverted, mirrorX or mirrorY:
 *  frees them, then reads imagePath again (source 1, padding as the stored padded says) or
 *  draws the text (source 2; Windows only, the Linux library returns 0). Never asks and shows
 *  no message. Returns 1 when the slot holds what its source asks for (no pixels for source
 *  0), else 0, with no pixels. */
ORVANTA_API int32_t RebuildMatTexture(Mat* mat, int32_t slot);

/* ---------------------------------------------------------------------------------------- */
/* 8. Editors: the record families' tools (Windows only)                                    */
/*    A tool is a modeless property sheet, owned by the host's window, on a thread of its    */
/*    own; its pages write the live record. Each record has at most one tool. The apply    */
/*    callback runs on the tool's thread: reason 0 on OK (Apply), 1 for a live change and   */
/*    after Cancel has restored the record as it was when the tool opened. Dispose* of a    */
/*    record closes its tool first (restoring nothing, calling nothing) and waits for it.   */
/* ---------------------------------------------------------------------------------------- */

/** The host's apply callback: (owner window, record, callback data, reason). */
typedef int32_t (*OrvApplyCallback)(void* owner, void* record, void* data, int32_t reason);

/** Opens the transmission tool over trn: one page with "aktiv", "invers" and the four ratios,
 *  titled with the transmission's name. Edits are stored when the edit is left; OK calls back
 *  with reason 0; Cancel restores the values held when the tool opened and calls nothing.
 *  Returns 0 when trn already has a tool, else 1 (the sheet may not exist yet). */
ORVANTA_API int32_t OpenTrnTool(void* owner, Trn* trn, OrvApplyCallback callback, void* data);
/** Serves the calling thread's messages until trn's tool has closed and its thread has ended;
 *  returns 1 at once when it has none. */
ORVANTA_API int32_t WaitTrnTool(Trn* trn);

/** Opens the light tool over lgt: pages "Typ" (type, gloss, shadow), "Spot" (distance, cone
 *  angle, sharpness, falloff) and "Farbe" (colour). Every change is written to lgt at once and
 *  called back with reason 1 (while a slider is dragged only with "Anz. akt." checked); OK calls
 *  back with reason 0; Cancel restores lgt as it was when the tool opened and calls back with
 *  reason 1. The host values are kept for the pages. Returns 0 when lgt already has a tool. */
ORVANTA_API int32_t OpenLgtTool(void* owner, Lgt* lgt, uint64_t host1, uint64_t host2,
                                OrvApplyCallback callback, void* data);
ORVANTA_API int32_t WaitLgtTool(Lgt* lgt);

/** Opens the scene tool over env, captioned "Szenenwerkzeug" and the environment's name:
 *  pages "Lichtquellen" (standard lights, brightness) and "Ambient" (ambient colour), then
 *  "Hintergrund" (background colour), "Nebel 1" (fog density, distances and type) and "Nebel 2"
 *  (fog colour). OpenEnvTool1 shows the first two pages only. Callbacks as for OpenLgtTool. */
ORVANTA_API int32_t OpenEnvTool(void* owner, Env* env, uint64_t host, OrvApplyCallback callback,
                                void* data);
ORVANTA_API int32_t OpenEnvTool1(void* owner, Env* env, uint64_t host, OrvApplyCallback callback,
                                 void* data);
ORVANTA_API int32_t WaitEnvTool(Env* env);

/** Opens the material tool over mat: the colour pages "Diffus", "Glanz", "Ambient" and
 *  "Emission", "Licht" (gloss, transparency, reflection, refraction, shadows), "Textur" (the
 *  surface texture; in expert mode "Oberfläche", "Reflektion", "Transparenz" and "Struktur",
 *  one per slot) and "Position" (the texture's rotation and offset). Changes are written to mat
 *  and called back as for OpenLgtTool, except those of the texture pages: each works on its own
 *  copy of its slot, which OK copies into mat (under the texture lock) before calling back with
 *  reason 0. Cancel restores mat as it was when the tool opened, images included, and calls
 *  back with reason 1. The expert mode is read when the sheet is built. DisposeMat closes an
 *  open tool and waits for its thread. Returns 0 when mat already has a tool. */
ORVANTA_API int32_t OpenMatTool(void* owner, Mat* mat, uint64_t host1, uint64_t host2,
                                OrvApplyCallback callback, void* data);
ORVANTA_API int32_t WaitMatTool(Mat* mat);

/** Opens the link tool ("Verbindungswerkzeug") over those of the count links that have no tool
 *  yet and, with skipFollowers nonzero, are not followers (at most 64 of them): one page per
 *  link, titled with its name, with both axes' switches, limits, steps, current values
 *  (slider and number) and drives, the coupling and its ratio, "Folgeverbindung",
 *  "Kollisionsprüfung" and "Zurücksetzen". Every change is written to its link at once and
 *  called back with (owner, link, data, 1), so the host recomposes with Animation; OK calls back
 *  with reason 0 for each link; Cancel restores every link as it was when the tool opened and
 *  calls back with reason 1 for each. Once the sheet has closed, the callback gets (owner,
 *  NULL, data, 0) unless closeNotifyOff is nonzero. The host values are kept for the pages.
 *  Returns 0 when no link remains, else 1 (the sheet may not exist yet). */
ORVANTA_API int32_t OpenLnkTool(void* owner, Lnk** links, int32_t count, int32_t skipFollowers,
                                int32_t closeNotifyOff, OrvApplyCallback callback, void* data,
                                uint64_t host1, uint64_t host2, uint64_t host3, uint64_t host4);
/** Serves the calling thread's messages until the tool editing lnk has closed; returns 1. */
ORVANTA_API int32_t WaitLnkTool(Lnk* lnk);
/** 1 when an open link tool edits a link whose link object, source body or target body is
 *  object, else 0. Ask it before deleting an object. */
ORVANTA_API int32_t ObjInLnkTool(uint64_t object);

/** The material library window's callback: reason 0 a material was added to the scene list, 1
 *  the user wants to delete a scene material (return 0 to keep it), 2 a scene material was
 *  renamed, 3 a scene material was chosen for assignment, 4 the window is closing (material
 *  null). */
typedef int32_t (*OrvMatLibCallback)(int32_t reason, Mat* material, void* data);
/** Opens the material library window over owner (class "OrvantaDLL:MatLibMain"): the scene's
 *  materials beside those of the library file last chosen ("LibName"), and serves its messages
 *  on the calling thread until it closes. The library file is written back on closing and on a
 *  change of file. The host values are kept for the window. Returns 1, or 0 when the window
 *  could not be made. Post the registered message "OrvantaDLL:MatLibRefresh" to redraw it. */
ORVANTA_API int32_t OpenMatLib(void* owner, uint64_t host1, int32_t host2, uint64_t host3,
                               uint64_t host4, OrvMatLibCallback callback, void* data);

/** Draws a flat thumbnail of mat into the square of edge size at (x, y) of the device context
 *  dc (an HDC): the surface texture's image one pixel per pixel from the top-left corner on
 *  light grey (cropped to the square), or, without one, the diffuse colour. No OpenGL is used.
 *  Returns 1. */
ORVANTA_API int32_t MatPreview(const Mat* mat, uint32_t x, uint32_t y, int32_t size, void* dc);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* ORVANTA_H */
