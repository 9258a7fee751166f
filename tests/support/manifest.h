// tests/support/manifest.h - manifests in tests: their text, and their items read back.
#pragma once

#include <string>
#include <string_view>

#include "foundation/file_path.h"
#include "orvpackage/package.h"

// The text of a UTF-16 file with its byte order mark taken off, line ends as "\n".
std::string ReadUtf16File(const std::string& bytes);

// The same for a manifest. Wine refuses to write the line end behind the declaration; here it is
// there as on every other system.
std::string ReadManifestFile(const std::string& bytes);

// Offers every node of a manifest to the package's properties and collections. False when the file
// cannot be opened.
bool LoadManifest(const CFilePathW& path, COrvPackage& package);
