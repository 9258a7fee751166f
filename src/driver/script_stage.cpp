#include "driver/cas_to_orv_converter.h"
#include "foundation/file_system.h"
#include "orvpackage/action_collections.h"
#include "platform/status.h"
#include "reporting/logger.h"
#include "reporting/record.h"

namespace {

// The scripts of the profile, or of a target.
struct SScope {
    const char16_t* prefix;  // makes names of the two scopes different
    const char16_t* message;
    CFilePathW folder;  // of the script files
};

// Adds an action for a script and copies its file. If the file cannot be copied, the action stays
// and the failure is logged.
void CopyScript(COrvPackage& package, const CCasScript& script, const SScope& scope) {
    const CFilePathW source(scope.folder, CFilePathSegmentW(script.Filename));
    const CStrW sourceName = source.ToString();
    SRecordLine line{.thing = EThing::Script,
                     .reason = EReason::Created,
                     .source = sourceName,
                     .collection = script.Prelaunch ? u"PreActions" : u"PostActions"};
    if (script.Disabled) {
        line.reason = EReason::DisabledScript;
        line.collection = u"";
        GetRecord().Add(line);
        return;
    }
    const CStrW name = scope.prefix + script.Filename;
    line.target = name;
    GetRecord().Add(line);
    // Empty for a text that cannot be the name of a file: the profile may state anything.
    const CFilePathSegmentW segment(name);
    const CFilePathW relative(CFilePathW(u"InstallActions"), segment);
    if (script.Prelaunch) {
        package.Get<COrvPreActionsCollection>().AddAction(name, relative.ToString());
    } else {
        package.Get<COrvPostActionsCollection>().AddAction(name, relative.ToString());
    }
    const CFilePathW destination(package.GetFolder(), relative);
    // The copy would delete an existing destination, which here is the script itself.
    if (source.Equals(destination)) {
        return;
    }
    // Without a name the destination would be the folder of all scripts.
    const int status =
        segment.IsEmpty() ? ERROR_ACCESS_DENIED : CopyFileOver(sourceName, destination);
    if (status != ERROR_SUCCESS) {
        GetLogger().LogMessage(MessageCopyFailed, nullptr, sourceName.Get(),
                               GetSystemErrorMessage(status).Get());
        // A second line for the script: the first one tells of the action, which stays.
        line.reason = EReason::ScriptFailed;
        line.status = status;
        line.isLogged = true;
        GetRecord().Add(line);
    }
}

void CopyScripts(COrvPackage& package, const std::vector<std::unique_ptr<CCasScript>>& scripts,
                 const SScope& scope, CProgressEvent& progress) {
    for (const auto& script : scripts) {
        CopyScript(package, *script, scope);
        progress.SetMessage(scope.message + script->Filename);
        progress.Step();
    }
}

}  // namespace

void CCasToOrvConverter::ProcessScripts(COrvPackage& package, const CCasTarget& target,
                                        CProgressEvent& parent) {
    const auto& profileScripts = m_package.GetProfile().Scripts;
    const CFilePathSegmentW scripts(u"Scripts");
    CProgressEvent progress(
        static_cast<std::uint32_t>(profileScripts.size() + target.Scripts.size()), &parent);
    CopyScripts(
        package, profileScripts,
        {u"Profile_", u"Processing profile script ", CFilePathW(m_package.GetFolder(), scripts)},
        progress);
    CopyScripts(
        package, target.Scripts,
        {u"Target_", u"Processing target script ", CFilePathW(TargetFolder(target), scripts)},
        progress);
    progress.Finish();
}
