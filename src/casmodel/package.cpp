#include "casmodel/package.h"

#include "platform/status.h"
#include "reporting/logger.h"
#include "reporting/record.h"

int CCasPackage::Open(const CStrW& profileFile) {
    // Every call with a full path sets the folder, also one that fails. So a folder means that this
    // is a second call.
    if (!m_folder.IsEmpty()) {
        return ERROR_ALREADY_ASSIGNED;
    }
    const CFilePathW file(profileFile);
    // Before the profile is read, so that the caller has both also after a failure.
    m_folder = file.GetParent();
    m_name = file.GetStem();
    const int status = m_profile.ReadFromFile(file);
    if (status != ERROR_SUCCESS) {
        GetLogger().LogStatus(status, ReadFailedText(file.ToString()));
        GetRecord().Add({.thing = EThing::Profile,
                         .reason = EReason::ProfileUnread,
                         .source = file.ToString().View(),
                         .status = status,
                         .isLogged = true});
    }
    return status;
}
