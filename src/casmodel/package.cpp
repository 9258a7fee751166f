#include "casmodel/package.h"

#include "platform/status.h"
#include "reporting/logger.h"
#include "reporting/record.h"

int CCasPackage::Open(const CStrW& profileFile) {
    if (!m_folder.IsEmpty()) {
        return ERROR_ALREADY_ASSIGNED;
    }
    const CFilePathW file(profileFile);
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
