#pragma once

#include "ModelContainer.h"

#include <QString>
#include <functional>
#include <memory>

// Opens the store at launch and decides whether it mirrors itself to the user's CalDAV
// account. A failing mirror never costs the board: the same file opens local only.
namespace TavikContainer {

struct SyncAvailability {
    enum class Kind { active, localOnly, unavailable };
    Kind kind = Kind::localOnly;
    QString reason; // the error's text, for `unavailable`
};

// What became of sync in this process; `localOnly` until create() or createDemo() ran.
[[nodiscard]] SyncAvailability syncAvailability();

// The directory holding the stores: the application data location.
[[nodiscard]] QString storeDirectory();
[[nodiscard]] QString realStorePath(); // "<dir>/tavik.store"
[[nodiscard]] QString demoStorePath(); // "<dir>/tavik-demo.store"

// Attaches the mirror to an opened container; returns false with a reason when it can't.
// The sync module installs one; with none installed, a mirrored open is `unavailable`.
using MirrorAttacher = std::function<bool(ModelContainer&, QString* reason)>;
void setMirrorAttacher(MirrorAttacher attacher);

// The real store, mirrored when `cloudSync` is true and that works. Null with `error` set
// when even the local store can't be opened.
[[nodiscard]] std::unique_ptr<ModelContainer> create(bool cloudSync, QString* error);
// The demo store, never mirrored.
[[nodiscard]] std::unique_ptr<ModelContainer> createDemo(QString* error);

} // namespace TavikContainer
