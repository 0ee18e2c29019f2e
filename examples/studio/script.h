// script.h - the scripted session: the studio used as a user would use it, step by step on the
// main window's thread, each result checked and written to <folder>/report.txt, one line per
// check ("ok <check>" or "FAIL <check>: <what was found>").
//
//   studio --script <folder> [--mechanism <mechanism.txt>]
//
// The studio then exits with the number of failed checks. The folder also receives
// studio.png, studio-raytrace.png, the library file studio.msl and the scene file scene.ovs.
#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class Document;
class Viewport;

// What the session needs of the main window beyond its menu, tree and messages.
class ScriptHost {
public:
    virtual HWND mainWindow() const = 0;
    virtual Document& currentDocument() = 0;
    virtual Viewport& currentViewport() = 0;
    // Moves the scene to a point in time as the animation clock does.
    virtual void animateTo(double time) = 0;
    // Makes a document read from path the one shown and edited, as opening a file does.
    virtual void showDocument(std::unique_ptr<Document> document, const std::wstring& path) = 0;

protected:
    ~ScriptHost() = default;
};

class ScriptSession {
public:
    ScriptSession(ScriptHost& host, std::wstring folder, std::wstring mechanismFile);
    ~ScriptSession();
    ScriptSession(const ScriptSession&) = delete;
    ScriptSession& operator=(const ScriptSession&) = delete;

    // Starts the steps on a timer of the main window; at the end the main window is destroyed.
    void start();
    // A session cut short (its window closed by hand) counts as one failure more.
    int failures() const { return done_ ? failures_ : failures_ + 1; }

private:
    struct State;
    // What a step tells the session: look again on the next tick, go on to the next step, or
    // give up the rest of the step's stage (a check has failed that the stage builds on).
    enum class Next { Again, Step, Abandon };
    struct Step {
        const char* stage;
        const char* check;  // the check that fails when the step takes longer than timeoutMs
        DWORD timeoutMs;
        std::function<Next()> run;
    };

    static void CALLBACK onTimer(HWND hwnd, UINT message, UINT_PTR id, DWORD time);
    void tick();
    void abandonStage();
    void finish();
    void check(const std::string& name, bool ok, const std::string& detail = {});
    // Runs a menu command as a click on it does; false when the menu has no such item.
    bool menu(const wchar_t* label) const;
    void add(const char* stage, const char* check, DWORD timeoutMs, std::function<Next()> run);
    void wait(const char* stage, DWORD ms);

    void addMaterialToolSteps();
    void addLibrarySteps();
    void addAnimationSteps();
    void addLinkToolSteps();
    void addRaytraceSteps();
    void addDocumentSteps();

    ScriptHost& host_;
    std::wstring folder_;
    std::wstring mechanismFile_;
    std::vector<Step> steps_;
    size_t current_ = 0;
    DWORD stepStarted_ = 0;
    bool busy_ = false;
    bool done_ = false;
    int failures_ = 0;
    std::vector<std::string> report_;
    std::unique_ptr<State> state_;
};
