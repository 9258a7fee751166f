#include "driver/cas_to_orv_converter.h"
#include "driver/reg_exclusions.h"
#include "foundation/reg_path.h"
#include "orvpackage/key_collections.h"
#include "reporting/logger.h"
#include "reporting/record.h"
#include "traversal/cas_registry_reader.h"

namespace {

constexpr std::u16string_view kExcluding = u"Excluding ";

// Writes the line of a captured key that the queue of items has held back.
void RecordKey(const COrvKeyItem& key, bool isExcluded, std::u16string_view path) {
    const CStrW& target = key.GetTarget();
    CStrW rule;
    SRecordLine line{.thing = EThing::Key, .reason = EReason::Created, .collection = u"CreateKeys"};
    if (isExcluded) {
        line.reason = CRegExclusions::Get().GetReason(path, rule);
        line.collection = u"";
    }
    line.target = target;
    line.detail = rule;
    GetRecord().Release(key.GetHash(), line);
}

// The path by which a key is compared and shown: portable, as in the manifest, but by the short
// name of its hive if it has that, and with file paths collapsed too.
class CComparedPath {
public:
    explicit CComparedPath(const COrvSanitizer& sanitizer) : m_sanitizer(sanitizer) {}

    // Valid until the next call, and as long as the key is.
    [[nodiscard]] std::u16string_view Get(const COrvKeyPath& key) {
        const std::u16string_view text = key.GetText();
        // Only a file path can still change it. Gain: half the instructions of a key.
        if (key.IsPortable() &&
            m_sanitizer.Sanitize(text, SanitizeNoRegPaths, m_buffer).data() == text.data()) {
            return text;
        }
        static_cast<void>(m_path.Parse(text));  // empty if it is no path
        return m_sanitizer.Sanitize(m_path.View(), SanitizeAll, m_buffer);
    }

private:
    const COrvSanitizer& m_sanitizer;
    CRegPathW m_path;
    std::u16string m_buffer;
};

// Deletes the excluded keys of one collection.
template <class TItem>
void ExcludeFrom(COrvCollection& keys, const COrvSanitizer& sanitizer, CProgressEvent& progress) {
    const CRegExclusions& exclusions = CRegExclusions::Get();
    CComparedPath compared(sanitizer);
    for (COrvItemItr<TItem> key(keys); key.Get() != nullptr;) {
        const std::u16string_view path = compared.Get(key.Get()->GetKey());
        const bool isExcluded = exclusions.IsExcluded(path);
        if (CRecord::IsFull()) {
            RecordKey(*key.Get(), isExcluded, path);
        }
        // Before the key may be deleted, and its path with it.
        progress.SetMessage(kExcluding);
        progress.SetMessageEnd(kExcluding.size(), path);
        if (isExcluded) {
            key.Erase();
        } else {
            key.Advance();
        }
        progress.Step();
    }
}

// Removes the excluded keys from the two collections of keys. Values are not removed, so a value
// below an excluded key makes an installer create that key again.
void ExcludeRegistryKeys(COrvPackage& package, CProgressEvent& parent) {
    auto& created = package.Get<COrvCreateKeysCollection>();
    auto& deleted = package.Get<COrvDeleteKeysCollection>();
    CProgressEvent progress(static_cast<std::uint32_t>(created.GetCount() + deleted.GetCount()),
                            &parent);
    ExcludeFrom<COrvCreateKey>(created, package.GetSanitizer(), progress);
    ExcludeFrom<COrvDeleteKey>(deleted, package.GetSanitizer(), progress);
}

}  // namespace

void CCasToOrvConverter::ProcessRegistry(COrvPackage& package, const CCasTarget& target,
                                         CProgressEvent& parent) {
    CProgressEvent progress(2, &parent);
    progress.SetMessage(u"Reading registry.");
    const CFilePathW hive(TargetFolder(target), CFilePathSegmentW(u"InstallRoot.dat"));
    CCasRegistryReader reader(m_assemblyProcessor, m_serviceProcessor, progress);
    const int status = reader.Read(package, hive, IsTarget64Bit(target));
    if (status < 0) {
        GetLogger().LogStatus(status, ReadFailedText(hive.ToString()));
        return;
    }
    // A hive that could not be mounted gives a positive status, which the reader has logged. There
    // is nothing to exclude then.
    progress.Step();
    ExcludeRegistryKeys(package, progress);
    progress.Finish();
}
