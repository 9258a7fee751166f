/* A host as it is on Windows: in C, and with nothing of the library but its name and its header.
 * load_library PROFILE FOLDER lists the targets of a package and converts it into the folder, and
 * ends with 0 only when both worked and agree. */
#include <objbase.h>
#include <orvcasconv/orvcasconv.h>
#include <stdio.h>
#include <wchar.h>

#define MAX_TARGETS 16

typedef struct Library {
    uint32_t (*convert)(const OrvChar*, const OrvChar*, const OrvChar*, GUID**, uint32_t*,
                        OrvProgressCallback);
    uint32_t (*open)(const OrvChar*, void**);
    uint32_t (*next)(void*, OrvChar**, OrvChar**);
    uint32_t (*close)(void*);
} Library;

typedef struct Targets {
    GUID guids[MAX_TARGETS];
    uint32_t count;
} Targets;

static unsigned s_notifications = 0;
static unsigned s_depth = 0;
static int s_isBadTree = 0;
static int s_isDone = 0;

/* Reads every level where it lies, and follows the chain in both directions. */
static uint32_t OnProgress(const OrvProgress* root) {
    unsigned depth = 0;
    const OrvProgress* above = NULL;
    for (const OrvProgress* level = root; level != NULL; level = level->child) {
        const int isMessage = wcslen(level->message) == level->messageLength;
        if (!isMessage || level->parent != above || level->current > level->total) {
            s_isBadTree = 1;
        }
        above = level;
        ++depth;
    }
    ++s_notifications;
    s_depth = depth > s_depth ? depth : s_depth;
    s_isDone = root->current == root->total;
    return 0;
}

static int Check(int isGood, const char* what) {
    if (!isGood) {
        fprintf(stderr, "wrong: %s\n", what);
    }
    return isGood;
}

static int FindFunctions(HMODULE module, Library* library) {
    void (*addresses[4])(void) = {
        (void (*)(void))GetProcAddress(module, "CasToOrvW"),
        (void (*)(void))GetProcAddress(module, "InitCasTargetInformation"),
        (void (*)(void))GetProcAddress(module, "GetNextCasTargetInformation"),
        (void (*)(void))GetProcAddress(module, "ReleaseCasTargetInformation"),
    };
    for (int i = 0; i < 4; ++i) {
        if (!Check(addresses[i] != NULL, "a function is missing")) {
            return 0;
        }
    }
    memcpy(library, addresses, sizeof *library);
    return 1;
}

static int ListTargets(const Library* library, const wchar_t* profile, Targets* targets) {
    void* handle = NULL;
    OrvChar* guid = NULL;
    OrvChar* name = NULL;
    if (!Check(library->open(profile, &handle) == 0, "the package cannot be opened")) {
        return 0;
    }
    while (targets->count < MAX_TARGETS && library->next(handle, &guid, &name) == 0) {
        Check(name != NULL && name[0] != 0, "a target has no name");
        if (!Check(IIDFromString(guid, &targets->guids[targets->count++]) == S_OK, "a GUID")) {
            return 0;
        }
    }
    return Check(library->next(handle, &guid, &name) == ERROR_NO_MORE_ITEMS, "the list's end") &&
           Check(library->close(handle) == 0, "the list cannot be closed");
}

/* Whether each target has its manifest in a folder of its own below `folder`. */
static int CheckManifests(const Targets* targets, const wchar_t* folder) {
    for (uint32_t i = 0; i < targets->count; ++i) {
        wchar_t guid[39];
        wchar_t name[MAX_PATH];
        StringFromGUID2(&targets->guids[i], guid, 39);
        _snwprintf(name, MAX_PATH, L"%ls\\%ls\\app.orv", folder, guid);
        if (!Check(GetFileAttributesW(name) != INVALID_FILE_ATTRIBUTES, "a manifest is missing")) {
            return 0;
        }
    }
    return 1;
}

static int Convert(const Library* library, const wchar_t* profile, const wchar_t* folder,
                   const Targets* listed) {
    wchar_t output[MAX_PATH];
    GUID* guids = NULL;
    uint32_t count = 0;
    _snwprintf(output, MAX_PATH, L"%ls\\app.orv", folder);
    const uint32_t status = library->convert(profile, output, NULL, &guids, &count, OnProgress);
    const int isGood =
        Check(status == 0, "the conversion failed") &&
        Check(count == listed->count, "not as many targets as were listed") &&
        Check(memcmp(guids, listed->guids, count * sizeof *guids) == 0, "other targets") &&
        CheckManifests(listed, folder);
    CoTaskMemFree(guids);
    return isGood && Check(s_notifications > 20 && s_depth >= 4 && s_isDone, "progress") &&
           Check(!s_isBadTree, "a level of the progress");
}

int wmain(int argc, wchar_t** argv) {
    Targets targets = {0};
    wchar_t profile[MAX_PATH];
    wchar_t folder[MAX_PATH];
    Library library;
    if (argc != 3) {
        fprintf(stderr, "usage: load_library PROFILE FOLDER\n");
        return 2;
    }
    /* The library takes no slashes. */
    GetFullPathNameW(argv[1], MAX_PATH, profile, NULL);
    GetFullPathNameW(argv[2], MAX_PATH, folder, NULL);
    HMODULE module = LoadLibraryW(L"OrvCasConv.dll");
    const int isGood = Check(module != NULL, "the library cannot be loaded") &&
                       FindFunctions(module, &library) &&
                       ListTargets(&library, profile, &targets) &&
                       Check(targets.count == 2, "not the sample's two targets") &&
                       Convert(&library, profile, folder, &targets);
    return isGood && Check(FreeLibrary(module) != 0, "the library cannot be let go") ? 0 : 1;
}
