// reporting/record_reasons.h - the words of the record: things, outcomes and reasons.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

// What a line of the record tells of.
enum class EThing : std::uint8_t {
    Profile,
    Element,  // of the profile
    Target,
    Rules,  // the isolation rules
    Folder,
    File,
    Mark,  // of a deletion, a stream of a file
    Shortcut,
    Hive,
    Key,
    Value,
    Variable,
    Service,
    Script,
    Assembly,
    Manifest,
    Stage,
};

enum class EOutcome : std::uint8_t { Created, Deleted, LeftOut, Claimed, Merged, Failed, NotRead };

// Why a thing has its outcome. The list is closed: a reason is a row of the table, and of
// docs/record.md.
enum class EReason : std::uint8_t {
    Created,
    Converted,
    Deleted,
    // Left out by a rule.
    Placeholder,
    FolderOnDrive,
    FolderWithContent,
    OwnOutput,
    LevelAbove,
    UserRoot,
    EnvironmentKey,
    HiddenKey,
    Bookkeeping,
    ExclusionRule,
    OtherUser,
    KernelPath,
    BelowService,
    ServiceOfValues,
    DisabledScript,
    RulesWithoutEffect,
    UnknownElement,
    SubProfile,
    // Claimed.
    OfService,
    OfAssembly,
    // Merged.
    SameItem,
    // Lost.
    CopyFailed,
    FileChanged,
    LinkNotFollowed,
    MarkUnknown,
    ShortcutFailed,
    NoPayloadName,
    PlaceTaken,
    TokenInName,
    ItemIncomplete,
    NoMemory,
    FolderUnread,
    NameRefused,
    HiveUnread,
    HiveDamaged,
    HiveDirty,
    KeyUnread,
    ValueUnread,
    NoPrivilege,
    RulesUnread,
    ScriptFailed,
    AssemblyIncomplete,
    AssemblyFileUnused,
    ProfileUnread,
    ProfileBroken,
    NoTarget,
    SameGuid,
    StageFailed,
    ManifestFailed,
    // Not captured.
    HiveMissing,
    FilesMissing,
};

enum class EWeight : std::uint8_t {
    Normal,
    Missing,  // nothing was captured where something mostly is
    Loss,     // captured, and not in the result
};

struct SReason {
    std::string_view name;
    EOutcome outcome;
    EWeight weight;
    std::string_view sentence;
    std::string_view advice;  // what to do about it; empty without a loss
};

[[nodiscard]] std::string_view NameOf(EThing thing);
[[nodiscard]] std::string_view NameOf(EOutcome outcome);
[[nodiscard]] const SReason& GetReason(EReason reason);
// All reasons, by EReason.
[[nodiscard]] std::span<const SReason> GetReasons();
