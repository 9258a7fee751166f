// orvpackage/action_collections.h - what an installer runs before and after everything else.
#pragma once

#include <cstdint>
#include <memory>

#include "orvpackage/collection.h"

// How the path of an action is to be taken; any other number is carried through, and its path does
// not reach the manifest.
enum EOrvAction : std::uint32_t {
    OrvActionPath = 0,
    OrvActionOtherPath = 1,
    OrvActionText = 2,
};

// An action has no key of its own: it is known by the number it was made with.
class COrvAction : public COrvItem {
public:
    // Needs a path.
    [[nodiscard]] bool IsValid() const override { return !m_path.IsEmpty(); }
    // Empty: an action has no name.
    [[nodiscard]] CStrW GetName() const override { return {}; }

    // Takes what to run, or the text of the action; tokens are expanded in paths alone.
    void SetPath(const CStrW& text, std::uint32_t type);
    // Take a text and expand its tokens.
    void SetRelativeSource(const CStrW& text);
    void SetArguments(const CStrW& text);

    [[nodiscard]] std::uint32_t GetActionType() const { return m_actionType; }
    [[nodiscard]] const CStrW& GetPath() const { return m_path; }
    // The payload copy of the action's file, relative to the folder of the manifest.
    [[nodiscard]] const CStrW& GetRelativeSource() const { return m_relativeSource; }
    [[nodiscard]] const CStrW& GetArguments() const { return m_arguments; }

    std::uint32_t ActionMode = 0;
    bool Wait = true;
    std::uint64_t Position;

protected:
    explicit COrvAction(std::uint64_t position) : COrvItem(position), Position(position) {}

private:
    std::uint32_t m_actionType = OrvActionPath;
    CStrW m_path;
    CStrW m_relativeSource;
    CStrW m_arguments;
};

class COrvPreAction : public COrvAction {
public:
    explicit COrvPreAction(std::uint64_t position) : COrvAction(position) {}
};

class COrvPostAction : public COrvAction {
public:
    explicit COrvPostAction(std::uint64_t position) : COrvAction(position) {}
};

// Actions in their sequence, which is the order of the manifest: their numbers are counted up to
// the number of actions, so that behind a gap the last ones are not reached.
class COrvActionsCollection : public COrvCollection {
public:
    // Makes an action and lends it; a position beyond the end appends. Null further in front: the
    // actions there move up, but keep the numbers that they are known by, so that the new one is a
    // double.
    COrvAction* InsertAt(std::uint64_t position);
    // Appends an action that runs the file `path`, whose payload copy is `relativeSource`, and
    // lends it. Null for a double, whose payload copy is then deleted, unless it is `path` itself.
    COrvAction* AddAction(const CStrW& path, const CStrW& relativeSource);

    void Write(CXmlWriter& writer) const override;

protected:
    using COrvCollection::COrvCollection;

    [[nodiscard]] virtual COrvItemPtr<COrvAction> MakeAction(std::uint64_t position) = 0;
    void WriteItem(CXmlWriter& writer, const COrvItem& item) const override;
    void ReadAttribute(const CStrW& name, const CStrW& value) override;
    bool ReadText(CXmlReader& reader) override;
    bool FinishItem() override;
};

class COrvPreActionsCollection : public COrvActionsCollection {
public:
    static constexpr EOrvCollection kType = OrvPreActions;
    explicit COrvPreActionsCollection(COrvPackage& package)
        : COrvActionsCollection(package, kType) {}

protected:
    [[nodiscard]] COrvItemPtr<COrvAction> MakeAction(std::uint64_t position) override {
        return Make<COrvPreAction>(position);
    }
};

class COrvPostActionsCollection : public COrvActionsCollection {
public:
    static constexpr EOrvCollection kType = OrvPostActions;
    explicit COrvPostActionsCollection(COrvPackage& package)
        : COrvActionsCollection(package, kType) {}

protected:
    [[nodiscard]] COrvItemPtr<COrvAction> MakeAction(std::uint64_t position) override {
        return Make<COrvPostAction>(position);
    }
};
