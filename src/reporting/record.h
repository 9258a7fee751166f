// reporting/record.h - the record of a conversion: what became of each captured thing, and why.
#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "foundation/json_writer.h"
#include "reporting/record_reasons.h"

enum class ERecordLevel : std::uint8_t { Off, Problems, All };

// How many items a collection of a manifest has.
struct SItemCount {
    const char16_t* collection;
    std::size_t count;
};

// One line. Texts that are empty are not written.
struct SRecordLine {
    EThing thing;
    EReason reason;
    // A path of the capture: of a file as the library names it, of a key within its hive.
    std::u16string_view source = {};
    std::u16string_view name = {};           // of a value or a variable
    const char16_t* collection = u"";        // of the item that it became, or was merged with
    std::u16string_view target = {};         // of that item, on the machine
    std::u16string_view detail = {};         // the rule, the service, the reason in other words
    int status = 0;                          // a Windows error number or an HRESULT
    bool isLogged = false;                   // the last line of the log tells of it too
    std::uint32_t line = 0;                  // of a document, from 1
    std::span<const SItemCount> items = {};  // of a target
};

// Writes one JSON object a line into a file. The first line is a head of fixed size. It is written
// again at the end, in place, with the number of losses. So a record that a full disk has cut off
// still tells how many there were, and a process that was killed leaves a head that says "running".
//
// The file is open only while lines are written, many at once. So a host that ends a conversion
// early can remove it, on Windows too.
//
// Off, an operation costs the test of a number. Begin and End are for one thread while no other one
// converts. In between every operation can be called by any thread of the conversion; a lock keeps
// lines whole. Writing never fails for the caller, but for std::bad_alloc: the head tells of a
// record that is cut off.
class CRecord {
public:
    // Creates the file. Without success the record stays off.
    void Begin(const std::filesystem::path& file, ERecordLevel level);
    // Writes the head with the status of the conversion, and closes the file.
    void End(int status);

    [[nodiscard]] static bool IsOn() { return s_level != ERecordLevel::Off; }
    // Whether every thing has a line, not only what is lost or missing.
    [[nodiscard]] static bool IsFull() { return s_level == ERecordLevel::All; }

    // The target that the next lines belong to, from 1; 0 for none.
    void SetTarget(std::uint32_t number);

    // Writes a line. With the level Problems only that of a target, of a loss or of something
    // missing.
    void Add(const SRecordLine& line);

    // A captured key whose item may still be taken out: Hold keeps its source, and Release writes
    // the line for the item with that hash, if one is held. What is left when the target ends has
    // been created. Only with the level All.
    void Hold(std::uint64_t itemHash, std::u16string_view source);
    void Release(std::uint64_t itemHash, SRecordLine line);

private:
    // The start of a line as JSON. The values of one key have the same one, so that it is kept from
    // line to line.
    //
    // INVARIANT: `json` is empty, or what WriteStart gives for the other fields.
    // Gain: 1.18 times fewer instructions for converting a make_hive hive of 50,000 values with a
    // full record.
    struct SStart {
        std::string json;
        std::uint32_t in = 0;
        EThing thing{};
        EReason reason{};
        const char16_t* collection = nullptr;
        std::u16string source;
        std::u16string target;

        [[nodiscard]] bool IsOf(const SRecordLine& line, std::uint32_t number) const {
            return !json.empty() && in == number && thing == line.thing && reason == line.reason &&
                   collection == line.collection && source == line.source && target == line.target;
        }
    };

    void WriteHead(std::ostream& file, const char* state, int status) const;
    void WriteStart(const SRecordLine& line, const SReason& reason);
    void WriteRest(const SRecordLine& line);
    void WriteItems(std::span<const SItemCount> items);
    void WriteOut();

    static ERecordLevel s_level;

    std::mutex m_mutex;
    std::filesystem::path m_file;
    bool m_isCutOff = false;  // the file lacks lines, so no more are written
    CJsonWriter m_writer;
    SStart m_start;
    std::string m_batch;                                       // lines that are not in the file yet
    std::unordered_map<std::uint64_t, std::u16string> m_held;  // sources by the hash of the item
    std::uint32_t m_target = 0;
    std::uint64_t m_losses = 0;
    std::uint64_t m_missing = 0;
};

// The record of the process. It is never destroyed, and off unless a conversion has begun it.
[[nodiscard]] CRecord& GetRecord();

// Begins the record that the variables ORVCASCONV_RECORD (a file) and ORVCASCONV_RECORD_LEVEL
// ("problems" or "all", which counts without it) ask for, and ends it with the object.
class CRecordSession {
public:
    CRecordSession();
    ~CRecordSession();
    CRecordSession(const CRecordSession&) = delete;
    CRecordSession& operator=(const CRecordSession&) = delete;

    void SetStatus(int status) { m_status = status; }

private:
    int m_status = -1;
};
