/* orvcasconv.h - converts Citrix Application Streaming packages to ORV packages.
 *
 * All text is NUL-terminated UTF-16 in 16-bit units. All results are unsigned 32-bit status values:
 * 0 for success, otherwise a Windows error number or an HRESULT, on every system.
 *
 * The functions may be called from one thread at a time. Paths are Windows paths; away from Windows
 * "Z:\a\b" is the file "/a/b", and relative paths start at the current directory.
 */
#ifndef ORVCASCONV_ORVCASCONV_H
#define ORVCASCONV_ORVCASCONV_H

#include <stddef.h>
#include <stdint.h>

#ifdef _WIN32
#include <guiddef.h>
#include <wchar.h>
typedef wchar_t OrvChar;
#ifdef ORVCASCONV_BUILDING
#define ORVCASCONV_API __declspec(dllexport)
#else
#define ORVCASCONV_API __declspec(dllimport)
#endif
#else
#ifdef __cplusplus
typedef char16_t OrvChar;
#else
typedef uint_least16_t OrvChar;
#endif
/* A GUID as Windows lays it out: 16 bytes. */
typedef struct GUID {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
} GUID;
#define ORVCASCONV_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* One level of the progress tree. The callback receives the root and reaches the deeper levels,
 * which come and go, by `child`. The record belongs to the library and is valid only during the
 * call; the host reads it in place and changes nothing. Offsets are those of a 64-bit system. */
typedef struct OrvProgress {
    const void* reserved0;      /*  0 */
    const void* reserved1;      /*  8 */
    const OrvChar* message;     /* 16: what is being done on this level; never null */
    uint64_t reserved2;         /* 24 */
    uint64_t messageLength;     /* 32: units of `message`, without its terminator */
    uint32_t current;           /* 40: steps done */
    uint32_t total;             /* 44: steps expected; an estimate on some levels */
    struct OrvProgress* parent; /* 48: null at the root */
    struct OrvProgress* child;  /* 56: null when no deeper level is alive */
    const void* reserved3;      /* 64 */
} OrvProgress;

/* The progress callback. It runs on whichever thread makes the step, one at a time, and must
 * neither throw nor call back into the library. Its result is ignored. */
typedef uint32_t (*OrvProgressCallback)(const OrvProgress* root);

/* Converts every target of the package whose profile file is `casFile`. The manifest of each target
 * goes to the folder of `orvFile`, below it a folder named by the target's GUID in braces, and in
 * that under the last segment of `orvFile`; its payload lies beside it.
 *
 * logFile      may be null. Otherwise all log lines of this process are saved there at the end, as
 *              lines of HTML in UTF-16; without any line nothing is written.
 * targets      receives an array of the targets' GUIDs in the order of the profile; null when
 *              there are none. The caller frees it with CoTaskMemFree, elsewhere with free().
 * targetCount  receives their number. Both pointers are written before anything else happens.
 * progress     may be null.
 *
 * Returns 0 also when single files or stages failed: those failures stand in the log.
 * 2: there is no such profile, or it is a folder; 87: a required path is null, empty or malformed.
 */
ORVCASCONV_API uint32_t CasToOrvW(const OrvChar* casFile, const OrvChar* orvFile,
                                  const OrvChar* logFile, GUID** targets, uint32_t* targetCount,
                                  OrvProgressCallback progress);

/* Starts an enumeration of a package's targets. On success `*handle` is to be released with
 * ReleaseCasTargetInformation; on failure it is left as it was. Failures as for CasToOrvW. */
ORVCASCONV_API uint32_t InitCasTargetInformation(const OrvChar* casFile, void** handle);

/* Hands out the next target: its GUID in braces and its name. Each buffer belongs to the caller
 * from then on; away from Windows free() frees it, and a host that lets it go loses a few bytes. A
 * target without a name gives a null `*name`. Returns 259 when there are no more targets, and then
 * writes nothing. */
ORVCASCONV_API uint32_t GetNextCasTargetInformation(void* handle, OrvChar** guidText,
                                                    OrvChar** name);

/* Ends an enumeration, at whatever point it is. `handle` must not be null. Returns 0. */
ORVCASCONV_API uint32_t ReleaseCasTargetInformation(void* handle);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* ORVCASCONV_ORVCASCONV_H */
