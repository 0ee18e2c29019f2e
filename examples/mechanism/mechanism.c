/* mechanism - a host that lets OrvantaDLL move two mechanisms through one turn of a drive.
 *
 *   mechanism [output.txt]
 *   mechanism --link-tool [seconds]      (Windows)
 *
 * The host keeps its own little object table (bodies with names and motion matrices, link
 * items, one transmission item) and hands the library the fifteen callbacks over it. On the
 * frame stand a crank with a slider and connecting rod, and, beside it, a four-bar linkage.
 * A drive turns the first crank once per time unit, slowly at first and last; a transmission
 * turns the four-bar's crank the other way round, as a pair of gears would. The rods, the
 * slider, the rocker and the coupler are follower links: the library closes their loops on
 * every step. Each of the 25 steps prints the time and, for each moving body, where its
 * marked point stands ("%.6f"), to the file named or to standard output.
 *
 * With --link-tool the host opens the link tool on the slider crank instead: the followers are
 * skipped, so its one page is the crank's. Every change the user makes is called back; the host
 * then moves the mechanism to it and prints where the slider stands. The host ends when the
 * tool is closed, or after the seconds given, disposing of its links, which closes the tool.
 *
 * Uses only the public header. Exits with 1 when a loop does not close. */
#ifdef _WIN32
#include <windows.h>
#endif
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "orvanta.h"

/* ---- The host's tables ------------------------------------------------------------------ */

enum { kBodies = 7, kLinks = 8, kSteps = 24 };

/* Bodies are objects 1..7, all at the top level; link i is item 101 + i and carried by the
 * host object 201 + i; the transmission is item 301. */
enum { kFirstLinkItem = 101, kFirstLinkObject = 201, kTrnItem = 301, kTrnObject = 401 };

typedef struct Body {
    const char* name;
    OrvVec3 mark; /* the point printed for the body */
    uint64_t firstLink;
    double m[16];
} Body;

static Body bodies[kBodies + 1] = {
    {"", {0, 0, 0}, 0, {0}},
    {"Rahmen", {0, 0, 0}, 0, {0}},
    {"Kurbel", {1, 0, 0}, 0, {0}},         /* the crank pin */
    {"Schieber", {4, 0.25, 0}, 0, {0}},    /* the rod's bearing on the slider */
    {"Pleuel", {2.5, 0.125, 0}, 0, {0}},   /* the middle of the rod */
    {"Antrieb", {11, 0, 0}, 0, {0}},       /* the four-bar's crank pin */
    {"Schwinge", {14, 3, 0}, 0, {0}},      /* the rocker's end */
    {"Koppel", {12.5, 1.5, 0}, 0, {0}},    /* the middle of the coupler */
};
static Lnk* links[kLinks];
static uint64_t nextLinkItem[kLinks];
static Trn* gears;

/* ---- The fifteen callbacks -------------------------------------------------------------- */

static uint64_t firstChild(uint64_t object) {
    return object == 0 ? 1 : 0;
}
static uint64_t nextSibling(uint64_t object) {
    return object < kBodies ? object + 1 : 0;
}
static uint64_t parentOf(uint64_t object) {
    (void)object;
    return 0;
}
static uint64_t firstLink(uint64_t object) {
    return object >= 1 && object <= kBodies ? bodies[object].firstLink : 0;
}
static uint64_t nextLink(uint64_t item) {
    return nextLinkItem[item - kFirstLinkItem];
}
static Lnk* linkRecord(uint64_t item) {
    return item >= kFirstLinkItem && item < kFirstLinkItem + kLinks ? links[item - kFirstLinkItem]
                                                                   : NULL;
}
/* The transmission is listed with the link that drives it. */
static uint64_t firstTrn(uint64_t linkObject) {
    return linkObject == kFirstLinkObject ? kTrnItem : 0;
}
static uint64_t nextTrn(uint64_t item) {
    (void)item;
    return 0;
}
static Trn* trnRecord(uint64_t item) {
    return item == kTrnItem ? gears : NULL;
}
static void objectName(uint64_t object, char name[256]) {
    strncpy(name, bodies[object].name, 255);
    name[255] = 0;
}
static void getMatrix(uint64_t object, double m[16]) {
    memcpy(m, bodies[object].m, sizeof bodies[object].m);
}
static void setMatrix(uint64_t object, const double m[16]) {
    memcpy(bodies[object].m, m, sizeof bodies[object].m);
}
static int32_t checkCollision(uint64_t a, uint64_t b, int32_t flag) {
    (void)a, (void)b, (void)flag;
    return 0;
}
static void beginUpdate(void) {}
static void endUpdate(void) {}

/* ---- Building the mechanisms ------------------------------------------------------------ */

/* A link from source to target along the axis from b to a; turning links leave the linear
 * axis off, sliding ones the rotational axis. */
static Lnk* addLink(int index, const char* name, uint64_t source, uint64_t target, OrvVec3 a,
                    OrvVec3 b, int sliding, int follower) {
    static const double frame[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    Lnk* link = CreateLnk(name);
    SetLnk(link, &a, &b, frame, 0, source, target, kFirstLinkObject + index);
    link->lin = sliding;
    link->rot = !sliding;
    link->follow = follower;
    links[index] = link;
    /* Carried by the source body, appended to its list. */
    uint64_t* slot = &bodies[source].firstLink;
    while (*slot) slot = &nextLinkItem[*slot - kFirstLinkItem];
    *slot = kFirstLinkItem + index;
    return link;
}

static OrvVec3 at(double x, double y, double z) {
    OrvVec3 v = {x, y, z};
    return v;
}

static void build(void) {
    /* Crank about the origin with its pin at (1, 0); the slider runs along y = 0.25 with the
     * rod's bearing at (4, 0.25). */
    Lnk* crank = addLink(0, "Kurbelwelle", 1, 2, at(0, 0, 1), at(0, 0, 0), 0, 0);
    addLink(1, "Schieberfuehrung", 1, 3, at(5, 0.25, 0), at(4, 0.25, 0), 1, 1);
    addLink(2, "Pleuellager", 3, 4, at(4, 0.25, 1), at(4, 0.25, 0), 0, 1);
    addLink(3, "Kurbelzapfen", 4, 2, at(1, 0, 0), at(1, 0, -1), 0, 1);
    /* Four-bar: crank about (10, 0) with its pin at (11, 0), rocker from (14, 0) to (14, 3),
     * coupler from (14, 3) to the pin. */
    addLink(4, "Antriebswelle", 1, 5, at(10, 0, 1), at(10, 0, 0), 0, 0);
    addLink(5, "Schwingenlager", 1, 6, at(14, 0, 1), at(14, 0, 0), 0, 1);
    addLink(6, "Koppellager", 6, 7, at(14, 3, 1), at(14, 3, 0), 0, 1);
    addLink(7, "Koppelzapfen", 7, 5, at(11, 0, 0), at(11, 0, -1), 0, 1);

    /* One turn per time unit: half a turn speeding up ("cosinus"), half slowing down
     * ("sinus"). */
    OrvDrive* drive = &crank->rotDrive;
    drive->count = 2;
    drive->phases[0].W = 180, drive->phases[0].T = 0.5, drive->phases[0].F = 2;
    drive->phases[1].W = 180, drive->phases[1].T = 0.5, drive->phases[1].F = 1;

    gears = CreateTrn("Zahnradpaar");
    SetTrn(gears, kFirstLinkItem + 0, kFirstLinkItem + 4, kTrnObject);
    gears->rotRot = -1, gears->rotLin = 0, gears->linLin = 0, gears->linRot = 0;
}

/* ---- Running a turn --------------------------------------------------------------------- */

/* Six decimals, and never "-0.000000". */
static void printNumber(FILE* out, double v) {
    fprintf(out, " %.6f", fabs(v) < 5e-7 ? 0.0 : v);
}

#ifdef _WIN32
/* ---- The link tool ---------------------------------------------------------------------- */

static int openLoops;

/* Called on the tool's thread: a change of the crank (reason 1), OK (0), or the tool closing
 * (no record). The host moves the mechanism as the user sets it, at time 0 of the drive. */
static int32_t toolChanged(void* owner, void* record, void* data, int32_t reason) {
    (void)owner, (void)data;
    if (!record) {
        printf("link tool closed\n");
        return 0;
    }
    openLoops += Animation(0, 0) != 0;
    const double* m = bodies[3].m;
    printf("reason %d: %s at %.1f degrees, slider at x = %.6f\n", (int)reason,
           ((Lnk*)record)->name, ((Lnk*)record)->rotCur, 4 * m[0] + 0.25 * m[4] + m[12]);
    fflush(stdout);
    return 0;
}

static int runLinkTool(double seconds) {
    if (!OpenLnkTool(NULL, links, 4, 1, 0, toolChanged, NULL, 0, 0, 0, 0)) {
        fprintf(stderr, "mechanism: the link tool did not open\n");
        return 1;
    }
    printf("link tool open on %s\n", links[0]->name);
    fflush(stdout);
    /* The host's own loop, until the tool has closed or the time is up. */
    const DWORD end = GetTickCount() + (DWORD)(seconds * 1000);
    while (links[0]->tool && (seconds <= 0 || (int32_t)(end - GetTickCount()) > 0)) {
        MSG msg;
        while (PeekMessageA(&msg, NULL, 0, 0, PM_REMOVE)) DispatchMessageA(&msg);
        Sleep(10);
    }
    return openLoops ? 1 : 0;
}
#endif

int main(int argc, char** argv) {
    for (int i = 1; i <= kBodies; ++i) {
        memset(bodies[i].m, 0, sizeof bodies[i].m);
        bodies[i].m[0] = bodies[i].m[5] = bodies[i].m[10] = bodies[i].m[15] = 1;
    }
    build();
    KinematicCallback(firstChild, nextSibling, parentOf, firstLink, nextLink, linkRecord,
                      firstTrn, nextTrn, trnRecord, objectName, getMatrix, setMatrix,
                      checkCollision, beginUpdate, endUpdate);
    uint64_t offending = 0;
    if (!KinematicInit(&offending)) {
        fprintf(stderr, "mechanism: the links are not sound (link object %llu)\n",
                (unsigned long long)offending);
        return 1;
    }

#ifdef _WIN32
    if (argc > 1 && strcmp(argv[1], "--link-tool") == 0) {
        const int result = runLinkTool(argc > 2 ? atof(argv[2]) : 0);
        for (int i = 0; i < kLinks; ++i) DisposeLnk(links[i]); /* closes a tool still open */
        DisposeTrn(gears);
        return result;
    }
#endif

    /* A file opened in binary mode holds the same bytes on every system. */
    FILE* out = argc > 1 ? fopen(argv[1], "wb") : stdout;
    if (!out) {
        perror(argv[1]);
        return 1;
    }
    int open = 0;
    for (int step = 0; step <= kSteps; ++step) {
        const double t = (double)step / kSteps;
        const int32_t result = Animation(t, 0);
        open += result != 0;
        fprintf(out, "t=%.6f result=%d", t, (int)result);
        for (int i = 2; i <= kBodies; ++i) {
            const double* m = bodies[i].m;
            const OrvVec3 p = bodies[i].mark;
            fprintf(out, " %s", bodies[i].name);
            printNumber(out, p.x * m[0] + p.y * m[4] + p.z * m[8] + m[12]);
            printNumber(out, p.x * m[1] + p.y * m[5] + p.z * m[9] + m[13]);
        }
        fprintf(out, "\n");
    }
    if (out != stdout) fclose(out);

    for (int i = 0; i < kLinks; ++i) DisposeLnk(links[i]);
    DisposeTrn(gears);
    return open ? 1 : 0;
}
