// orvpackage/action_collections.h - what an installer runs before and after everything else.
#pragma once

#include <cstdint>
#include <utility>

#include "orvpackage/content_items.h"

// What the path of an action means. Any other number is passed on, but its path is not written to
// the manifest.
enum EOrvAction : std::uint32_t {
    OrvActionPath = 0,
    OrvActionOtherPath = 1,
    OrvActionText = 2,
};

struct SOrvAction {
    std::uint32_t type = OrvActionPath;
    CStrW path;            // what to run, or the text of the action
    CStrW relativeSource;  // the payload copy of its file, from the folder of the manifest on
    CStrW arguments;
    std::uint32_t mode = 0;
    bool wait = true;

    [[nodiscard]] static SAttributes<SOrvAction> GetAttributes();
    [[nodiscard]] bool IsValid() const { return !path.IsEmpty(); }
};

// An action has no key of its own: it is known by the number it was made with.
class COrvAction : public COrvContentItem<SOrvAction> {
public:
    explicit COrvAction(std::uint64_t position, SOrvAction content = {})
        : COrvContentItem(position, std::move(Expand(content))), Position(position) {}

    // Empty: an action has no name.
    [[nodiscard]] CStrW GetName() const override { return {}; }

    std::uint64_t Position;
};

class COrvPreAction : public COrvAction {
    using COrvAction::COrvAction;
};

class COrvPostAction : public COrvAction {
    using COrvAction::COrvAction;
};

// Actions in their sequence, which is the order of the manifest. Writing counts the numbers from 0
// up to the number of actions. So if one was removed, the last ones are not reached.
class COrvActionsCollection : public COrvContentCollection<COrvAction> {
public:
    // Makes an action and lends it; a position after the end appends. For any other position it
    // returns null: the actions there move up by one, but are still known by their old numbers, so
    // the new action is a double.
    COrvAction* InsertAt(std::uint64_t position, SOrvAction content = {});
    // Appends an action that runs the file `path`, whose payload copy is `relativeSource`, and
    // lends it. Null for a double, whose payload copy is then deleted, unless it is `path` itself.
    COrvAction* AddAction(const CStrW& path, const CStrW& relativeSource);

    std::size_t Write(CXmlWriter& writer) const override;

protected:
    using COrvContentCollection::COrvContentCollection;

    [[nodiscard]] virtual COrvItemPtr<COrvAction> MakeAction(std::uint64_t position,
                                                             SOrvAction content) = 0;
    void WriteInside(CXmlWriter& writer, const SOrvAction& action) const override;
    bool ReadText(CXmlReader& reader) override;
    bool FinishItem() override;
};

template <class TAction, EOrvCollection kCollection>
class COrvActionsCollectionOf : public COrvActionsCollection {
public:
    static constexpr EOrvCollection kType = kCollection;
    explicit COrvActionsCollectionOf(COrvPackage& package)
        : COrvActionsCollection(package, kType) {}

protected:
    [[nodiscard]] COrvItemPtr<COrvAction> MakeAction(std::uint64_t position,
                                                     SOrvAction content) override {
        return Make<TAction>(position, std::move(content));
    }
};

using COrvPreActionsCollection = COrvActionsCollectionOf<COrvPreAction, OrvPreActions>;
using COrvPostActionsCollection = COrvActionsCollectionOf<COrvPostAction, OrvPostActions>;
