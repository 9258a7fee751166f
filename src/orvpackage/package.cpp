#include "orvpackage/package.h"

#include "foundation/file_system.h"
#include "foundation/xml_escape.h"
#include "foundation/xml_writer.h"
#include "orvpackage/action_collections.h"
#include "orvpackage/assembly_collections.h"
#include "orvpackage/env_var_collections.h"
#include "orvpackage/file_collections.h"
#include "orvpackage/key_collections.h"
#include "orvpackage/service_collections.h"
#include "orvpackage/shortcut_collection.h"
#include "orvpackage/value_collections.h"
#include "platform/files.h"
#include "platform/status.h"
#include "reporting/logger.h"
#include "reporting/record.h"

// In the order of the manifest, which is also that of EOrvCollection.
COrvPackage::COrvPackage() {
    AddCollection<COrvCreateFoldersCollection>();
    AddCollection<COrvDeleteFoldersCollection>();
    AddCollection<COrvCreateFilesCollection>();
    AddCollection<COrvDeleteFilesCollection>();
    AddCollection<COrvCreateKeysCollection>();
    AddCollection<COrvDeleteKeysCollection>();
    AddCollection<COrvCreateValuesCollection>();
    AddCollection<COrvDeleteValuesCollection>();
    AddCollection<COrvCreateShortcutsCollection>();
    AddCollection<COrvDeleteShortcutsCollection>();
    AddCollection<COrvCreateEnvVarsCollection>();
    AddCollection<COrvDeleteEnvVarsCollection>();
    AddCollection<COrvCreateServicesCollection>();
    AddCollection<COrvDeleteServicesCollection>();
    AddCollection<COrvControlServicesCollection>();
    AddCollection<COrvCreateAssembliesCollection>();
    AddCollection<COrvDeleteAssembliesCollection>();
    AddCollection<COrvPreActionsCollection>();
    AddCollection<COrvPostActionsCollection>();
}

COrvPackage::~COrvPackage() = default;

// At the index of its type, by which GetCollection finds it.
template <class TCollection>
void COrvPackage::AddCollection() {
    m_collections[TCollection::kType] = std::make_unique<TCollection>(*this);
}

void COrvPackage::SetManifestPath(const CFilePathW& path) {
    m_manifestPath = path;
    m_isDirty = true;
}

bool COrvPackage::IsDirty() const {
    bool isDirty = m_isDirty || m_properties.IsDirty();
    for (const auto& collection : m_collections) {
        isDirty = isDirty || collection->IsDirty();
    }
    return isDirty;
}

void COrvPackage::SetClean() {
    m_isDirty = false;
    m_properties.SetDirty(false);
    for (const auto& collection : m_collections) {
        collection->SetDirty(false);
    }
}

// In the same folder, so that the move is a rename; with a new GUID, so that no file has the name.
CFilePathW COrvPackage::TemporaryPath() const {
    CFilePathSegmentW name(CreateGuidString());
    name.SetExtensionOrv();
    return CFilePathW(GetFolder(), name);
}

int COrvPackage::Save() {
    if (!IsDirty()) {
        return S_FALSE;
    }
    if (m_manifestPath.IsEmpty()) {
        return E_INVALIDARG;
    }
    const CFilePathW temporary = TemporaryPath();
    // If one of these fails, opening the file fails too, and that is reported.
    static_cast<void>(DeleteFileForce(temporary));
    static_cast<void>(CreateDirectoryChain(temporary.GetParent()));
    int status = WriteManifest(temporary);
    if (status < 0) {
        return status;
    }
    // A move does not replace a file. If this fails, the move fails too.
    static_cast<void>(DeleteFileForce(m_manifestPath));
    // If this fails, the package counts as saved all the same; the status tells of it.
    status = HresultFromError(
        platform::MoveFile(temporary.ToString().Get(), m_manifestPath.ToString().Get()));
    SetClean();
    return status;
}

int COrvPackage::WriteManifest(const CFilePathW& path) {
    m_savedItems.clear();
    CXmlWriter writer;
    // Escapes the characters that XML cannot contain, so that no value is lost.
    writer.SetTextFilter(&EscapeXmlText);
    const int status = writer.Open(path);
    if (status < 0) {
        if (m_logger != nullptr) {
            m_logger->LogMessage(MessageManifestFailed, nullptr, path.ToString().Get(),
                                 GetSystemErrorMessage(status).Get());
        }
        return status;
    }
    // From here on the writer keeps the first failure, and EndDocument gives it.
    writer.StartDocument();
    if (writer.StartElement(u"Package", false) >= 0) {
        writer.WriteAttribute(u"Version", UnsignedToText(m_formatVersion));
        writer.WriteNewLine();
        m_properties.Write(writer);
        for (const auto& collection : m_collections) {
            if (const std::size_t count = collection->Write(writer); count != 0) {
                m_savedItems.push_back({collection->GetElementName(), count});
            }
        }
        writer.EndElement(true);
    }
    // A full disk may show only now. Callers do not see it, but the record tells.
    if (const int written = writer.EndDocument(); written < 0) {
        GetRecord().Add({.thing = EThing::Manifest,
                         .reason = EReason::ManifestFailed,
                         .target = m_manifestPath.ToString().View(),
                         .status = written});
    }
    return status;
}
