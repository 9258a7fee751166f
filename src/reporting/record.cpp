#include "reporting/record.h"

#include <fstream>
#include <utility>

#include "platform/local_paths.h"
#include "platform/utf8.h"
#include "reporting/logger.h"

namespace {

// In bytes. Lines are collected up to the size of a batch, so that the file is opened rarely. The
// longest head, with all numbers at their limits, has 112 bytes.
constexpr std::size_t kBatch = std::size_t{1} << 20;
constexpr std::size_t kHeadSize = 128;

// What is empty or 0 is left out, so that most lines are short. A missing field means just that.
void AddText(CJsonWriter& writer, std::string_view key, std::u16string_view text) {
    if (!text.empty()) {
        writer.Key(key);
        writer.Text(text);
    }
}

void AddNumber(CJsonWriter& writer, std::string_view key, std::int64_t number) {
    if (number != 0) {
        writer.Key(key);
        writer.Number(number);
    }
}

}  // namespace

ERecordLevel CRecord::s_level = ERecordLevel::Off;

CRecord& GetRecord() {
    // Not destroyed, like the log.
    static auto* const record = new CRecord;
    return *record;
}

CRecordSession::CRecordSession() {
    const std::filesystem::path file = platform::GetPathVariable("ORVCASCONV_RECORD");
    if (!file.empty()) {
        const bool isShort = platform::GetPathVariable("ORVCASCONV_RECORD_LEVEL") == "problems";
        GetRecord().Begin(file, isShort ? ERecordLevel::Problems : ERecordLevel::All);
    }
}

CRecordSession::~CRecordSession() {
    try {
        GetRecord().End(m_status);
    } catch (const std::bad_alloc&) {
        // The record says for ever that the conversion runs, and so that it is not whole.
    }
}

void CRecord::Begin(const std::filesystem::path& file, ERecordLevel level) {
    m_target = 0;
    m_losses = 0;
    m_missing = 0;
    m_isCutOff = false;
    // The start of a line of a former record must not be used for this one.
    m_start.json.clear();
    std::ofstream record(file, std::ios::binary | std::ios::trunc);
    WriteHead(record, "running", 0);
    // On only after the head is in the file. Otherwise the record stays off, and the conversion
    // goes on without it.
    if (record.flush()) {
        m_file = file;
        s_level = level;
    }
}

void CRecord::SetTarget(std::uint32_t number) {
    // Before the number changes, because these keys belong to the target that ends. No rule took
    // them out, so they have been created.
    for (const auto& [hash, source] : std::exchange(m_held, {})) {
        Add({.thing = EThing::Key,
             .reason = EReason::Created,
             .source = source,
             .collection = u"CreateKeys"});
    }
    m_target = number;
}

void CRecord::End(int status) {
    if (!IsOn()) {
        return;
    }
    // While the record is on, because it writes the lines of the keys that are still held.
    SetTarget(0);
    s_level = ERecordLevel::Off;
    WriteOut();
    // A full disk has room for what replaces bytes of the same file.
    // `in` keeps the lines; the new head takes the place of the old one.
    std::ofstream record(m_file, std::ios::binary | std::ios::in);
    WriteHead(record, m_isCutOff ? "cut off" : "whole", status);
}

// Of fixed size, so that it can be written again in its place.
void CRecord::WriteHead(std::ostream& file, const char* state, int status) const {
    CJsonWriter head;
    head.BeginObject();
    head.Key("record");
    head.Number(1);  // the version of the format
    head.Key("state");
    head.Ascii(state);
    head.Key("status");
    head.Number(status);
    head.Key("losses");
    head.Number(static_cast<std::int64_t>(m_losses));
    head.Key("missing");
    head.Number(static_cast<std::int64_t>(m_missing));
    head.EndObject();
    std::string line(head.GetBytes());
    // Blanks after a value are allowed in JSON.
    line.resize(kHeadSize - 1, ' ');
    line += '\n';
    file.write(line.data(), static_cast<std::streamsize>(line.size()));
}

void CRecord::Add(const SRecordLine& line) {
    const SReason& reason = GetReason(line.reason);
    const bool isShort = reason.weight != EWeight::Normal || line.thing == EThing::Target;
    if (!IsOn() || (!isShort && !IsFull())) {
        return;
    }
    // The walk and the queue of registry items add lines at the same time.
    const std::lock_guard lock(m_mutex);
    // Counted also when the file is cut off: the head still tells the number.
    m_losses += reason.weight == EWeight::Loss ? 1 : 0;
    m_missing += reason.weight == EWeight::Missing ? 1 : 0;
    if (!m_start.IsOf(line, m_target)) {
        m_start = {{}, m_target, line.thing, line.reason, line.collection, {}, {}};
        m_start.source = line.source;
        m_start.target = line.target;
        m_writer.Clear();
        WriteStart(line, reason);
        m_start.json = m_writer.GetBytes();
    }
    m_batch += m_start.json;
    WriteRest(line);
    if (m_batch.size() >= kBatch) {
        WriteOut();
    }
}

void CRecord::WriteStart(const SRecordLine& line, const SReason& reason) {
    m_writer.BeginObject();
    m_writer.Key("in");
    m_writer.Number(m_target);
    m_writer.Key("thing");
    m_writer.Ascii(NameOf(line.thing));
    m_writer.Key("outcome");
    m_writer.Ascii(NameOf(reason.outcome));
    m_writer.Key("reason");
    m_writer.Ascii(reason.name);
    AddText(m_writer, "collection", line.collection);
    AddText(m_writer, "target", line.target);
    AddText(m_writer, "source", line.source);
}

// Writes an object of what comes after the start, and puts a comma in place of its brace.
void CRecord::WriteRest(const SRecordLine& line) {
    m_writer.Clear();
    m_writer.BeginObject();
    if (line.thing == EThing::Value || line.thing == EThing::Variable) {
        m_writer.Key("name");  // that of a default value is empty
        m_writer.Text(line.name);
    }
    AddText(m_writer, "detail", line.detail);
    AddNumber(m_writer, "status", line.status);
    AddNumber(m_writer, "line", line.line);
    AddNumber(m_writer, "log",
              line.isLogged ? static_cast<std::int64_t>(GetLogger().GetLines().size()) : 0);
    WriteItems(line.items);
    m_writer.EndObject();
    // Without the opening brace. If only the closing one is left, the start needs no comma.
    const std::string_view rest = m_writer.GetBytes().substr(1);
    m_batch += rest.size() > 1 ? "," : "";
    m_batch += rest;
    m_batch += '\n';
}

void CRecord::WriteItems(std::span<const SItemCount> items) {
    if (items.empty()) {
        return;
    }
    m_writer.Key("items");
    m_writer.BeginObject();
    for (const SItemCount& item : items) {
        m_writer.Key(platform::Utf16ToUtf8(item.collection));
        m_writer.Number(static_cast<std::int64_t>(item.count));
    }
    m_writer.EndObject();
}

void CRecord::WriteOut() {
    if (!m_isCutOff && !m_batch.empty()) {
        std::ofstream record(m_file, std::ios::binary | std::ios::app);
        record.write(m_batch.data(), static_cast<std::streamsize>(m_batch.size()));
        m_isCutOff = !record.flush();
    }
    // Dropped even after a failure, so that a full disk does not fill the memory too.
    m_batch.clear();
}

void CRecord::Hold(std::uint64_t itemHash, std::u16string_view source) {
    const std::lock_guard lock(m_mutex);
    m_held.emplace(itemHash, source);
}

void CRecord::Release(std::uint64_t itemHash, SRecordLine line) {
    // Without the lock, which Add takes. The walk and its queue have ended, so nobody else holds
    // keys.
    const auto held = m_held.extract(itemHash);
    if (!held.empty()) {
        line.source = held.mapped();
        Add(line);
    }
}
