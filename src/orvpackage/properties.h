// orvpackage/properties.h - what the manifest says of the package as a whole.
#pragma once

#include <cstdint>

#include "foundation/wide_string.h"

class CXmlReader;
class CXmlWriter;

// The architecture of a package, a key or a value.
enum EOrvArchitecture : std::uint32_t {
    OrvArchitectureNone = 0,
    OrvArchitectureX86 = 1,
    OrvArchitectureX64 = 2,
};

// "x86" or "x64"; null when not set.
[[nodiscard]] const char16_t* ArchitectureName(std::uint32_t architecture);
// Sets `architecture` by its name, in any letter case; another text leaves it as it was.
void ParseArchitecture(const CStrW& name, std::uint32_t& architecture);

// The "Properties" element. The fields are open: whoever sets one sets the dirty flag too.
class COrvPropertiesCollection {
public:
    COrvPropertiesCollection() = default;
    virtual ~COrvPropertiesCollection() = default;
    COrvPropertiesCollection(const COrvPropertiesCollection&) = delete;
    COrvPropertiesCollection& operator=(const COrvPropertiesCollection&) = delete;

    // Puts the fields back to their start; the dirty flag stays.
    virtual void Clear();
    [[nodiscard]] virtual bool IsDirty() const { return m_isDirty; }
    virtual void SetDirty(bool isDirty) { m_isDirty = isDirty; }

    // Offers the current node of `reader`; true when it was a text of one of the fields.
    virtual bool Read(CXmlReader& reader);
    // Writes the element. Texts are written unchanged, and empty ones are left out.
    virtual void Write(CXmlWriter& writer) const;

private:
    bool m_isDirty = false;

public:
    CStrW Name;
    CStrW Version;
    CStrW Manufacturer;
    std::uint32_t Architecture = OrvArchitectureNone;
    bool PerUserInstall = true;
};
