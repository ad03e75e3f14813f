#pragma once
// Service: the selection in the library's window. Main thread.

#include "MusicLibrary.h"
#include "Tree.h"

#include <memory>
#include <optional>

namespace vexa::host {

/// The selection in the library's window, on which plug-ins act. It is asked on demand, as when a menu opens; it does
/// not report changes.
class LibrarySelectionModel {
public:
    virtual ~LibrarySelectionModel() = default;

    /// The names of all files shown, and of the selected ones, in the order shown.
    virtual QStringList AllFiles() const = 0;
    virtual QStringList SelectedFiles() const = 0;
    virtual std::optional<QString> FocusedFile() const = 0;

    /// The tree of the selected node, and the path to the node; the path is empty when no node is selected.
    virtual Ref<IVEXAMLGroupingTreeDataProvider> TreeOfNode() const = 0;
    virtual std::vector<TreePair> Node() const = 0;
};

/// A fixed selection, for hosts without a window.
struct FixedSelection final : LibrarySelectionModel {
    QStringList Files;
    std::optional<QString> Focused;
    Ref<IVEXAMLGroupingTreeDataProvider> Provider;
    std::vector<TreePair> Path;

    QStringList AllFiles() const override { return Files; }
    QStringList SelectedFiles() const override { return Files; }
    std::optional<QString> FocusedFile() const override { return Focused; }
    Ref<IVEXAMLGroupingTreeDataProvider> TreeOfNode() const override { return Provider; }
    std::vector<TreePair> Node() const override { return Path; }
};

class LibrarySelection final : public RefCountedObject<IVEXAServiceMusicLibraryUI>, private MusicLibraryListener {
public:
    explicit LibrarySelection(Ref<MusicLibraryService> library);
    ~LibrarySelection() override;

    /// Replaces the model; null means that nothing is selected. The model is released when another storage becomes
    /// active and before a storage is finalised, so that it does not hold a plug-in's objects for too long.
    void SetModel(std::shared_ptr<LibrarySelectionModel> model) { FModel = std::move(model); }
    const std::shared_ptr<LibrarySelectionModel>& Model() const noexcept { return FModel; }

    /// An empty list when nothing is selected; E_INVALIDARG when `flags` is not a FileSelection.
    HResult GetFiles(std::uint32_t flags, IVEXAObjectList** files) noexcept override;
    /// Makes a new filter at every call.
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
