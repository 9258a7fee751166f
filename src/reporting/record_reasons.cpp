#include "reporting/record_reasons.h"

#include <array>

namespace {

using enum EOutcome;
using enum EWeight;

// By EThing. The names are words of the record's format, and its readers compare them.
constexpr std::string_view kThings[] = {
    "profile", "element",  "target",   "rules",    "folder", "file",
    "mark",    "shortcut", "hive",     "key",      "value",  "variable",
    "service", "script",   "assembly", "manifest", "stage",
};
static_assert(std::size(kThings) == static_cast<std::size_t>(EThing::Stage) + 1);

// By EOutcome.
constexpr std::string_view kOutcomes[] = {
    "created", "deleted", "left out", "claimed", "merged", "failed", "not read",
};
static_assert(std::size(kOutcomes) == static_cast<std::size_t>(NotRead) + 1);

// By EReason.
constexpr SReason kReasons[] = {
    {"created", Created, Normal, "It is an item of the manifest.", ""},
    {"converted", Created, Normal, "It was read; what is in it has lines of its own.", ""},
    {"deleted", Deleted, Normal, "The capture has it deleted, and so does the manifest.", ""},

    // Left out by a rule. These have no weight, because the result is meant to be without them.
    {"placeholder", LeftOut, Normal, "The file only keeps a folder alive in the capture.", ""},
    {"folder-on-drive", LeftOut, Normal,
     "Folders are made with the files in them; a package on a drive has no items of its own for "
     "folders.",
     ""},
    {"folder-with-content", LeftOut, Normal, "The folder is made with the files in it.", ""},
    {"own-output", LeftOut, Normal, "This conversion writes into the folder.", ""},
    {"level-above", LeftOut, Normal,
     "It belongs to the levels of the captured hive above all real keys.", ""},
    {"user-root", LeftOut, Normal, "The key of the user exists on every machine.", ""},
    {"environment-key", LeftOut, Normal,
     "The key is that of variables, of which only the values count.", ""},
    {"hidden", LeftOut, Normal, "The isolated application does not see the key.", ""},
    {"bookkeeping", LeftOut, Normal, "The value belongs to the capture, not to the application.",
     ""},
    {"rule", LeftOut, Normal, "A rule of exclusions leaves the key out.", ""},
    {"other-user", LeftOut, Normal, "The key belongs to another user.", ""},
    {"kernel-path", LeftOut, Normal, "The key has a path of the kernel, which no installer knows.",
     ""},
    {"below-service", LeftOut, Normal,
     "The key is that of all services, or is below that of a service. A service is described by "
     "its own key alone.",
     ""},
    {"service-of-values", LeftOut, Normal,
     "The profile does not describe the service. Its registry values are in the result.", ""},
    {"disabled", LeftOut, Normal, "The profile turns the script off.", ""},
    {"no-effect", LeftOut, Normal, "Isolation rules have no effect on the result.", ""},
    {"unknown-element", LeftOut, Normal, "The profile has an element that is not known.", ""},
    {"sub-profile", LeftOut, Normal, "Targets of profiles within the profile are not converted.",
     ""},

    {"of-service", Claimed, Normal, "It makes the item of a service.", ""},
    {"of-assembly", Claimed, Normal,
     "It is in the store of assemblies, which are installed by their manifests.", ""},

    {"same-item", Merged, Normal, "There is an item for this place already; the first one stays.",
     ""},

    // Lost: captured, but not in the result. Each row says what the user can do about it.
    {"copy-failed", Failed, Loss, "The file cannot be copied.",
     "See whether it can be read, and whether the disk is full; then convert again."},
    {"file-changed", Failed, Loss, "The file changed while it was copied.",
     "Convert again when nobody writes to the package."},
    {"link-not-followed", NotRead, Loss,
     "It is a symbolic link, and links within a package are not followed.",
     "Put what it leads to in its place, and convert again."},
    {"mark-unknown", Failed, Loss, "The system does not tell whether it is marked as deleted.",
     "See whether the disk is well; then convert again."},
    {"shortcut-failed", Failed, Loss, "The shortcut cannot be read.",
     "See whether the file is a shortcut; capture it again."},
    {"no-payload-name", Failed, Loss, "The file has a place for which the payload has no name.",
     "Capture it into a folder of a drive."},
    {"place-taken", Failed, Loss,
     "Another thing has the same place in the result, and only one of the two is there.",
     "Rename one of the two in the capture, and convert again."},
    {"token-in-name", Failed, Loss,
     "The name has what a manifest takes for a token, so the manifest names another payload file.",
     "Rename it in the capture, so that no part of its path is the name of a variable in percent "
     "signs; then convert again."},
    {"item-incomplete", Failed, Loss, "The item lacks what the manifest needs, and is not in it.",
     "A shortcut may have no target that this machine knows. A machine description can add it."},
    {"no-memory", Failed, Loss, "There was not enough memory for it.",
     "Convert again with more memory."},
    {"folder-unread", NotRead, Loss, "The folder cannot be listed.",
     "Give this account the right to read it, and convert again."},
    {"name-refused", NotRead, Loss, "No Windows path can have this name.",
     "Rename it in the capture, and convert again."},
    {"hive-unread", NotRead, Loss, "The hive cannot be read; nothing of the registry is converted.",
     "See whether the file is whole and can be read; capture it again."},
    {"hive-damaged", NotRead, Loss, "The hive has keys or values that cannot be read.",
     "Capture it again, or take it from a backup."},
    {"hive-dirty", NotRead, Loss,
     "The hive was not written to its end, and its logs do not complete it.",
     "Put the hive's files .LOG1 and .LOG2 beside it, or capture it again."},
    {"key-unread", NotRead, Loss, "The key cannot be read.", "Capture it again."},
    {"value-unread", NotRead, Loss, "The value cannot be read.", "Capture it again."},
    {"no-privilege", NotRead, Loss, "The account does not have the privileges for loading a hive.",
     "Run the program elevated, or name a machine description."},
    {"rules-unread", NotRead, Loss, "The isolation rules cannot be read. They have no effect.",
     "See whether the package was copied as a whole."},
    {"script-failed", Failed, Loss, "The script cannot be copied.",
     "See whether the file is in the folder Scripts and can be read; then convert again."},
    {"assembly-incomplete", Failed, Loss,
     "The assembly lacks its catalog, a captured file, or its place in the store.",
     "Capture it again, on a machine of which the description has the store."},
    {"assembly-file-unused", Failed, Loss,
     "The file is in the store of assemblies, and no assembly has it.",
     "Capture the manifest and the catalog of its assembly too."},
    {"profile-unread", NotRead, Loss, "The profile cannot be read.",
     "See whether the file is a profile."},
    {"profile-broken", NotRead, Loss,
     "The profile is not well-formed; what comes after the fault is not read.",
     "Mend the profile, or take it from a backup."},
    {"no-target", NotRead, Loss, "The profile has no target.", "See whether the profile is whole."},
    {"same-guid", Failed, Loss, "Another target has the same GUID, and so the same folder.",
     "Give the targets different GUIDs in the profile."},
    {"stage-failed", Failed, Loss, "A step of the conversion ended early.",
     "See the log for the reason."},
    {"manifest-failed", Failed, Loss, "The manifest cannot be saved.",
     "See whether the disk is full, and whether the folder can be written to."},

    // Missing: a package may be whole without it, so this is no loss.
    {"hive-missing", NotRead, Missing, "The target has no hive.",
     "If registry was captured, copy InstallRoot.dat into the target's folder."},
    {"files-missing", NotRead, Missing, "The target has no captured files.",
     "If files were captured, copy the folder Device into the target's folder."},
};
static_assert(std::size(kReasons) == static_cast<std::size_t>(EReason::FilesMissing) + 1);

}  // namespace

std::string_view NameOf(EThing thing) { return kThings[static_cast<std::size_t>(thing)]; }
std::string_view NameOf(EOutcome outcome) { return kOutcomes[static_cast<std::size_t>(outcome)]; }
const SReason& GetReason(EReason reason) { return kReasons[static_cast<std::size_t>(reason)]; }
std::span<const SReason> GetReasons() { return kReasons; }
