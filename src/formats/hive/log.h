// formats/hive/log.h - what a hive's logs hold of an interrupted write.
#pragma once

#include <span>

#include "formats/hive/image.h"

namespace formats {

// Whether the last write of a hive was cut off, so that its logs count.
[[nodiscard]] bool IsDirtyHive(const CHiveImage& hive);

// Puts the pages of the logs, of either format and in the order of their names, into a dirty hive,
// and repairs its base block when that was being written. Logs that do not belong to it, or are
// themselves cut off, add nothing, or as much as they safely can. Returns whether the hive is now
// whole: false when it is dirty and there is no log for it, or when a log has more than fits.
[[nodiscard]] bool ApplyHiveLogs(CHiveImage& hive, std::span<const CHiveImage> logs);

}  // namespace formats
