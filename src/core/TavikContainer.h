#pragma once

#include "ModelContainer.h"

#include <QString>
#include <functional>
#include <memory>

// Opens the store at launch and decides whether it mirrors itself to the user's CalDAV
// account. A failing mirror never costs the board: the same file opens local only.
namespace TavikContainer {

struct SyncAvailability {
    // `opening`: the store is open local while the account's password is still being read.
    enum class Kind { active, localOnly, unavailable, opening };
    Kind kind = Kind::localOnly;
    QString reason; // the error's text, for `unavailable`
};

// The stores' file names in the directory below.
inline constexpr char realStoreName[] = "tavik.store";
inline constexpr char demoStoreName[] = "tavik-demo.store";

// The directory holding the stores: the application data location, made if missing.
[[nodiscard]] QString storeDirectory();
[[nodiscard]] QString realStorePath(); // "<dir>/tavik.store"
[[nodiscard]] QString demoStorePath(); // "<dir>/tavik-demo.store"

// Attaches the mirror to an opened container; returns false with a reason when it can't.
// The caller (main, once the CalDAV mirror exists) passes one; with none, a mirrored open is
// `unavailable`.
using MirrorAttacher = std::function<bool(ModelContainer&, QString* reason)>;

// An opened store and what became of its mirror.
struct Opened {
    std::unique_ptr<ModelContainer> container; // null when even the local store can't open
    SyncAvailability sync;
};

// The real store, mirrored through `attacher` when `cloudSync` is true and that works. No
// container, with `error` set, when even the local store can't be opened.
[[nodiscard]] Opened create(bool cloudSync, const MirrorAttacher& attacher, QString* error);
// The demo store, never mirrored.
[[nodiscard]] Opened createDemo(QString* error);

} // namespace TavikContainer
