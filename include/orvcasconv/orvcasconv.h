/* orvcasconv.h - converts Citrix Application Streaming packages to ORV packages.
 *
 * All text is NUL-terminated UTF-16 in 16-bit units. All results are unsigned 32-bit status values:
 * 0 for success, otherwise a Windows error number or an HRESULT, on every system.
 *
 * Only one thread at a time may call the functions. Paths are Windows paths. On other systems
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
/* A GUID in the layout of Windows: 16 bytes. */
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

/* One level of the progress tree. The callback receives the root; `child` leads to the deeper
 * levels, which appear and disappear during a conversion. The record belongs to the library and is
 * valid only during the call. The host reads it in place and must not change it. Offsets are in
 * bytes, on a 64-bit system. */
typedef struct OrvProgress {
    const void* reserved0;      /*  0 */
    const void* reserved1;      /*  8 */
    const OrvChar* message;     /* 16: the present work of this level; never null */
    uint64_t reserved2;         /* 24 */
    uint64_t messageLength;     /* 32: units of `message`, without its terminator */
    uint32_t current;           /* 40: steps done */
    uint32_t total;             /* 44: steps expected; an estimate on some levels */
    struct OrvProgress* parent; /* 48: null at the root */
    struct OrvProgress* child;  /* 56: null when there is no deeper level now */
    const void* reserved3;      /* 64 */
} OrvProgress;

/* The progress callback. It runs on the thread that makes the step, which may be another one than
 * the caller's; calls never overlap. It must neither throw nor call the library. Its result is
 * ignored. */
typedef uint32_t (*OrvProgressCallback)(const OrvProgress* root);

/* The environment variable ORVCASCONV_MACHINE names the machine description that answers for
 * folders, variables, user, registry, shortcuts and assemblies: a file in TOML, or "built-in". It
 * is read at the start of CasToOrvW and of InitCasTargetInformation; a file that cannot be used
 * ends the call with 13 (ERROR_INVALID_DATA). Without it the running Windows answers on Windows,
 * where loading a captured hive takes the privileges to back up and to restore; elsewhere the
 * built-in description does. */

/* Three more variables are read at the start of CasToOrvW. ORVCASCONV_RECORD names a file of this
 * system, which receives a JSON object a line for each captured thing: what became of it, and why.
 * With ORVCASCONV_RECORD_LEVEL=problems only targets and what was lost or missing have lines. A
 * record that cannot be written changes neither the result nor the status. With ORVCASCONV_CHECK
 * set, all is read as for a conversion, and nothing is written but log and record. */

/* Converts every target of the package whose profile file is `casFile`. For an `orvFile` of
 * "FOLDER\NAME", the manifest of a target is the file "FOLDER\{GUID}\NAME", with the target's GUID.
 * The payload is in the manifest's folder.
 *
 * logFile      may be null. Otherwise all log lines of this process are saved there at the end, as
 *              lines of HTML in UTF-16. If there are no lines, no file is written.
 * targets      receives an array of the targets' GUIDs in the order of the profile; null when
 *              there are none. The caller owns the array and frees it with CoTaskMemFree on
 *              Windows, with free() on other systems.
 * targetCount  receives their number. Both are set to null and 0 before anything else happens.
 * progress     may be null.
 *
 * Returns 0 also when single files or stages failed: the log has those failures.
 * 2: there is no such profile, or it is a folder; 87: a required path is null, empty or malformed.
 * 8: there is not enough memory to go on.
 */
ORVCASCONV_API uint32_t CasToOrvW(const OrvChar* casFile, const OrvChar* orvFile,
                                  const OrvChar* logFile, GUID** targets, uint32_t* targetCount,
                                  OrvProgressCallback progress);

/* Starts an enumeration of a package's targets. On success the caller owns `*handle` and releases
 * it with ReleaseCasTargetInformation; on failure it is unchanged. Failures as for CasToOrvW. */
ORVCASCONV_API uint32_t InitCasTargetInformation(const OrvChar* casFile, void** handle);

/* Gives the next target: its GUID in braces and its name. The caller owns both texts. On Windows no
 * function frees them, so a host loses a few bytes for each; on other systems free() frees them. A
 * target without a name gives a null `*name`. Returns 259 when there are no more targets, and then
 * writes nothing. */
ORVCASCONV_API uint32_t GetNextCasTargetInformation(void* handle, OrvChar** guidText,
                                                    OrvChar** name);

/* Ends an enumeration, whether all targets were fetched or not. `handle` must not be null.
 * Returns 0. */
ORVCASCONV_API uint32_t ReleaseCasTargetInformation(void* handle);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* ORVCASCONV_ORVCASCONV_H */
