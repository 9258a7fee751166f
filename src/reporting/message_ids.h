// reporting/message_ids.h - the numbers of the string resources that a host has for this library.
#pragma once

#include <cstdint>

enum EMessageId : std::uint32_t {
    MessageReadFailed = 101,       // %1 the file, %2 empty: the status follows the text
    MessageException = 102,        // %1 the text of the exception
    MessagePrivilege = 103,        // reserved
    MessageHiveFailed = 104,       // reserved
    MessageCopyFailed = 105,       // %1 the source, %2 the reason
    MessageShortcutFailed = 106,   // %1 the file, %2 the reason
    MessageManifestFailed = 6000,  // %1 the manifest, %2 the reason
    MessageItemRefused = 6002,     // %1 the line of the manifest
    MessageDuplicate = 6003,       // %1 the item's name
};
