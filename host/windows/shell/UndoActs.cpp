#include "UndoActs.h"

#include "Guarded.h"
#include "Strings.h"
#include "VEXA.Runtime.Threads.h"

#include <QPointer>

namespace vexa::host {

namespace {

constexpr std::size_t kMaxActs = 20;

}  // namespace

class UndoActs::Events final : public RefCountedObject<IVEXAMLUndoEvents> {
public:
    explicit Events(UndoActs* owner) : FOwner(owner) {}
    void OnUndone(HResult result, IVEXAString* text) noexcept override {
        Guarded("reporting what was undone", [&] {
            if (FOwner && result != S_OK) Q_EMIT FOwner->UndonePartly(ToQString(text));
            return S_OK;
        });
    }

private:
    const QPointer<UndoActs> FOwner;
};

UndoActs::UndoActs(MusicLibraryService& library) : FLibrary(library) {
    FLibrary.AddListener(this);
}

UndoActs::~UndoActs() {
    FLibrary.RemoveListener(this);
}

void UndoActs::SetStorage(const LibraryStorage* storage) {
    VEXA_ASSERT_MAIN_THREAD();
    FStorageID = storage ? storage->ID() : QString();
    FStorage = storage ? storage->Offered<IVEXAMLUndo>() : Ref<IVEXAMLUndo>();
    FLastSeen = NewestOfStorage().Number;
    for (OwnAct& act : FOwn) act.After = FLastSeen;
}

void UndoActs::Add(const QString& text, std::function<void()> undo) {
    VEXA_ASSERT_MAIN_THREAD();
    FOwn.push_back({NewestOfStorage().Number, text, std::move(undo)});
    if (FOwn.size() > kMaxActs) FOwn.pop_front();
    Q_EMIT Done(text);
}

UndoActs::StorageAct UndoActs::NewestOfStorage() const {
    StorageAct act;
    Ref<IVEXAString> text;
    if (FStorage && FStorage->Describe(&act.Number, text.Put()) == S_OK) act.Text = ToQString(text.Get());
    return act;
}

std::optional<QString> UndoActs::Newest() const {
    VEXA_ASSERT_MAIN_THREAD();
    const StorageAct act = NewestOfStorage();
    if (!FOwn.empty() && FOwn.back().After >= act.Number) return FOwn.back().Text;
    return act.Number > 0 ? std::optional(act.Text) : std::nullopt;
}

void UndoActs::Undo() {
    VEXA_ASSERT_MAIN_THREAD();
    const StorageAct act = NewestOfStorage();
    if (!FOwn.empty() && FOwn.back().After >= act.Number) {
        const auto undo = std::move(FOwn.back().Undo);
        FOwn.pop_back();
        undo();
    } else if (act.Number > 0) {
        FStorage->Undo(act.Number, Ref<Events>(new Events(this)).Get());
    }
}

void UndoActs::OnDataChanged(const QString& storageID) {
    if (storageID != FStorageID) return;
    const StorageAct act = NewestOfStorage();
    if (act.Number <= FLastSeen) return;
    FLastSeen = act.Number;
    Q_EMIT Done(act.Text);
}

}  // namespace vexa::host
