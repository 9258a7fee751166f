#include "formats/hive/name_table.h"

#include <bit>

namespace formats {

void CNameTable::Reset(std::size_t count) {
    // A power of two, so that the mask takes the place of a division.
    m_places.assign(std::bit_ceil(count + count / 2 + 1), kEmpty);
    m_mask = m_places.size() - 1;
}

}  // namespace formats
