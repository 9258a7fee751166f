#include "orvpackage/action_collections.h"

#include <algorithm>
#include <utility>

#include "foundation/file_path_converter.h"
#include "foundation/number_text.h"
#include "foundation/xml_reader.h"
#include "foundation/xml_writer.h"
#include "orvpackage/sanitizer.h"

namespace {

struct SReadAction {
    std::uint32_t type = OrvActionPath;
    CStrW path;
    CStrW relativeSource;
    CStrW arguments;
    std::uint32_t mode = 0;
    bool wait = true;
};

bool IsPathType(std::uint32_t type) { return type == OrvActionPath || type == OrvActionOtherPath; }

}  // namespace

void COrvAction::SetPath(const CStrW& text, std::uint32_t type) {
    m_actionType = type;
    m_path = text;
    if (IsPathType(type)) {
        ExpandFileTokens(m_path);
    }
}

void COrvAction::SetRelativeSource(const CStrW& text) {
    m_relativeSource = text;
    ExpandFileTokens(m_relativeSource);
}

void COrvAction::SetArguments(const CStrW& text) {
    m_arguments = text;
    ExpandFileTokens(m_arguments);
}

COrvAction* COrvActionsCollection::InsertAt(std::uint64_t position) {
    const std::uint64_t count = GetCount();
    position = std::min(position, count);
    for (std::uint64_t number = position; number < count; ++number) {
        if (auto* const action = static_cast<COrvAction*>(Find(number))) {
            ++action->Position;
        }
    }
    return AddOwned(MakeAction(position));
}

COrvAction* COrvActionsCollection::AddAction(const CStrW& path, const CStrW& relativeSource) {
    COrvItemPtr<COrvAction> action = MakeAction(GetCount());
    action->SetPath(path, OrvActionPath);
    action->SetRelativeSource(relativeSource);
    COrvAction* const added = action.get();
    COrvItemPtr<COrvItem> item = std::move(action);
    if (Add(item)) {
        return added;
    }
    DeletePayload(added->GetRelativeSource(), added->GetPath());
    return nullptr;
}

void COrvActionsCollection::Write(CXmlWriter& writer) const {
    if (IsEmpty() || writer.StartElement(GetElement().collection, true) < 0) {
        return;
    }
    for (std::uint64_t number = 0; number < GetCount(); ++number) {
        if (const COrvItem* const action = Find(number)) {
            WriteElement(writer, *action);
        }
    }
    writer.EndElement(true);
}

void COrvActionsCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    const auto& action = static_cast<const COrvAction&>(item);
    writer.WriteAttribute(u"ActionType", UnsignedToText(action.GetActionType()));
    if (IsPathType(action.GetActionType())) {
        WriteSanitized(writer, u"Path", action.GetPath(), SanitizeNoRegPaths);
    }
    WriteIfAny(writer, u"RelativeSource", action.GetRelativeSource(), SanitizeNoPaths);
    WriteIfAny(writer, u"Arguments", action.GetArguments(), SanitizeNoRegPaths);
    writer.WriteAttribute(u"ActionMode", UnsignedToText(action.ActionMode));
    WriteBool(writer, u"Wait", action.Wait);
    if (action.GetActionType() == OrvActionText) {
        writer.WriteText(action.GetPath());
    }
}

void COrvActionsCollection::ReadAttribute(const CStrW& name, const CStrW& value) {
    auto& read = ReadSoFar<SReadAction>();
    if (name.EqualsNoCase(u"ActionType")) {
        read.type = ReadPlainNumber32(value);
    } else if (name.EqualsNoCase(u"Path")) {
        read.path = GetSanitizer().Desanitize(value, SanitizeNoRegPaths);
    } else if (name.EqualsNoCase(u"RelativeSource")) {
        read.relativeSource = GetSanitizer().Desanitize(value, SanitizeNoPaths);
    } else if (name.EqualsNoCase(u"Arguments")) {
        read.arguments = GetSanitizer().Desanitize(value, SanitizeNoRegPaths);
    } else if (name.EqualsNoCase(u"ActionMode")) {
        read.mode = ReadPlainNumber32(value);
    } else if (name.EqualsNoCase(u"Wait")) {
        read.wait = value.IsTrue();
    }
}

bool COrvActionsCollection::ReadText(CXmlReader& reader) {
    reader.GetValueChunked(ReadSoFar<SReadAction>().path);
    return true;
}

bool COrvActionsCollection::FinishItem() {
    const auto read = TakeRead<SReadAction>();
    COrvAction* const added = InsertAt(GetCount());
    if (added == nullptr) {
        return false;
    }
    added->SetPath(read.path, read.type);
    added->SetRelativeSource(read.relativeSource);
    added->SetArguments(read.arguments);
    added->ActionMode = read.mode;
    added->Wait = read.wait;
    return true;
}
