#pragma once
// Service: what is selected in the library's window. Main thread.

#include "MusicLibrary.h"
#include "Tree.h"

#include <memory>
#include <optional>

namespace vexa::host {

/// The library's window, as plug-ins ask it what they are to act on: asked when a menu opens, not kept up to date.
class LibrarySelectionModel {
public:
    virtual ~LibrarySelectionModel() = default;

    /// Names of the files that show, and of those that are selected, in the order in which they show.
    virtual QStringList AllFiles() const = 0;
    virtual QStringList SelectedFiles() const = 0;
    virtual std::optional<QString> FocusedFile() const = 0;

    /// The selected node: its tree, and the way to it. No way when none is selected.
    virtual Ref<IVEXAMLGroupingTreeDataProvider> TreeOfNode() const = 0;
    virtual std::vector<TreePair> Node() const = 0;
};

/// A selection that stays as it is until another is set.
struct FixedSelection final : LibrarySelectionModel {
    QStringList Files;
    std::optional<QString> Focused;
    Ref<IVEXAMLGroupingTreeDataProvider> Provider;
    std::vector<TreePair> Way;

    QStringList AllFiles() const override { return Files; }
    QStringList SelectedFiles() const override { return Files; }
    std::optional<QString> FocusedFile() const override { return Focused; }
    Ref<IVEXAMLGroupingTreeDataProvider> TreeOfNode() const override { return Provider; }
    std::vector<TreePair> Node() const override { return Way; }
};

class LibrarySelection final : public RefCountedObject<IVEXAServiceMusicLibraryUI>, private MusicLibraryListener {
public:
    explicit LibrarySelection(Ref<MusicLibraryService> library);
    ~LibrarySelection() override;

    /// In place of the one before; null: nothing is selected. It is let go of when another storage shows, and before a
    /// storage is finalised, so that it holds nothing of a plug-in's longer than it may.
    void SetModel(std::shared_ptr<LibrarySelectionModel> model) { FModel = std::move(model); }
    const std::shared_ptr<LibrarySelectionModel>& Model() const noexcept { return FModel; }

    /// An empty list when nothing is selected; E_INVALIDARG for what is no FileSelection.
    HResult GetFiles(std::uint32_t flags, IVEXAObjectList** files) noexcept override;
    /// A new filter at every call.
    HResult GetGroupingFilter(IVEXAMLDataFilter** filter) noexcept override;

private:
    void OnDataChanged(const QString&) override {}
    void OnTasksChanged(const QString&) override {}
    void OnActiveStorageChanged(const QString&) override { SetModel(nullptr); }
    void OnStorageEnding(const QString&) override { SetModel(nullptr); }

    const Ref<MusicLibraryService> FLibrary;
    std::shared_ptr<LibrarySelectionModel> FModel;
};

}  // namespace vexa::host
