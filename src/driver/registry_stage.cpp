#include "driver/cas_to_orv_converter.h"
#include "driver/reg_exclusions.h"
#include "foundation/reg_path.h"
#include "orvpackage/key_collections.h"
#include "reporting/logger.h"
#include "reporting/record.h"
#include "traversal/cas_registry_reader.h"

namespace {

// Writes the line of a captured key that the queue of items has held back.
void RecordKey(const COrvKeyItem& key, bool isExcluded, const CStrW& path) {
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

// Deletes the excluded keys of one collection. A key is compared, and shown, by its portable path,
// as in the manifest.
template <class TItem>
void ExcludeFrom(COrvCollection& keys, const COrvSanitizer& sanitizer, CProgressEvent& progress) {
    const CRegExclusions& exclusions = CRegExclusions::Get();
    for (COrvItemItr<TItem> key(keys); key.Get() != nullptr;) {
        const CStrW path =
            sanitizer.Sanitize(CRegPathW(key.Get()->GetTarget()).ToString(), SanitizeAll);
        const bool isExcluded = exclusions.IsExcluded(path);
        if (CRecord::IsFull()) {
            RecordKey(*key.Get(), isExcluded, path);
        }
        if (isExcluded) {
            key.Erase();
        } else {
            key.Advance();
        }
        progress.SetMessage(u"Excluding ");
        progress.SetMessageEnd(std::size(u"Excluding ") - 1, path);
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
