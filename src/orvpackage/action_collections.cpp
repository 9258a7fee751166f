#include "orvpackage/action_collections.h"

#include <algorithm>
#include <utility>

#include "foundation/xml_writer.h"

namespace {

// The path of any other type is a text, with no tokens, and goes through no converter.
bool IsPathType(std::uint32_t type) { return type == OrvActionPath || type == OrvActionOtherPath; }

constexpr SForm<SOrvAction> kPathForm = Path<&SOrvAction::path, Always>;

void WritePath(const SAttributeOutput& output, const SOrvAction& from) {
    if (IsPathType(from.type)) {
        kPathForm.write(output, from);
    }
}

void ExpandPath(SOrvAction& content) {
    // In a text of another type a percent sign begins no token.
    if (IsPathType(content.type)) {
        kPathForm.expand(content);
    }
}

constexpr SAttribute<SOrvAction> kAttributes[] = {
    {u"ActionType", Number<&SOrvAction::type, ReadPlainNumber32>},
    // For the types whose path is one. It is read for all of them.
    {u"Path", {WritePath, kPathForm.read, ExpandPath}},
    {u"RelativeSource", RelativePath<&SOrvAction::relativeSource, IfAny>},
    {u"Arguments", Path<&SOrvAction::arguments, IfAny>},
    {u"ActionMode", Number<&SOrvAction::mode, ReadPlainNumber32>},
    {u"Wait", Flag<&SOrvAction::wait>},
};

}  // namespace

SAttributes<SOrvAction> SOrvAction::GetAttributes() { return kAttributes; }

COrvAction* COrvActionsCollection::InsertAt(std::uint64_t position, SOrvAction content) {
    const std::uint64_t count = GetCount();
    position = std::min(position, count);
    // An action is found by the number that it was made with, and that number stays.
    for (std::uint64_t number = position; number < count; ++number) {
        if (auto* const action = static_cast<COrvAction*>(Find(number))) {
            ++action->Position;
        }
    }
    // Any other place than the end has a number that is taken, so this then gives null.
    return AddOwned(MakeAction(position, std::move(content)));
}

COrvAction* COrvActionsCollection::AddAction(const CStrW& path, const CStrW& relativeSource) {
    SOrvAction content;
    content.path = path;
    content.relativeSource = relativeSource;
    COrvItemPtr<COrvAction> action = MakeAction(GetCount(), std::move(content));
    COrvAction* const added = action.get();
    COrvItemPtr<COrvItem> item = std::move(action);
    if (Add(item)) {
        return added;
    }
    // After a removal the count is a number that may be taken. No item names the copy then.
    DeletePayload(added->GetContent().relativeSource, added->GetContent().path);
    return nullptr;
}

std::size_t COrvActionsCollection::Write(CXmlWriter& writer) const {
    if (IsEmpty() || writer.StartElement(GetElement().collection, true) < 0) {
        return 0;
    }
    std::size_t count = 0;
    // Not in the order of the table: actions run in their sequence. The hash is the number itself.
    for (std::uint64_t number = 0; number < GetCount(); ++number) {
        const COrvItem* const action = Find(number);
        count += action != nullptr && WriteElement(writer, *action) ? 1 : 0;
    }
    writer.EndElement(true);
    return count;
}

void COrvActionsCollection::WriteInside(CXmlWriter& writer, const SOrvAction& action) const {
    // It may be a whole script, so it is the text of the element and no attribute.
    if (action.type == OrvActionText) {
        writer.WriteText(action.path);
    }
}

bool COrvActionsCollection::ReadText(CXmlReader& reader) {
    // Replaces what the attribute "Path" gave, whatever the type.
    reader.GetValueChunked(ReadSoFar<SOrvAction>().path);
    return true;
}

bool COrvActionsCollection::FinishItem() {
    return InsertAt(GetCount(), TakeRead<SOrvAction>()) != nullptr;
}
