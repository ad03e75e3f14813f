#include "LibrarySelection.h"

#include "Guarded.h"
#include "ObjectList.h"
#include "VEXA.Runtime.Threads.h"

namespace vexa::host {

LibrarySelection::LibrarySelection(Ref<MusicLibraryService> library) : FLibrary(std::move(library)) {
    FLibrary->AddListener(this);
}

LibrarySelection::~LibrarySelection() {
    FLibrary->RemoveListener(this);
}

HResult LibrarySelection::GetFiles(std::uint32_t flags, IVEXAObjectList** files) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!files) return E_POINTER;
    *files = nullptr;
    if (flags > kFilesFocused) return E_INVALIDARG;
    return Guarded("giving the selected files", [&] {
        const auto model = FModel;
        QStringList names;
        if (model && flags == kFilesFocused) {
            if (const auto focused = model->FocusedFile()) names += *focused;
        } else if (model) {
            names = flags == kFilesSelected ? model->SelectedFiles() : model->AllFiles();
        }
        *files = Ref<IVEXAObjectList>(MakeStringList(names)).Detach();
        return S_OK;
    });
}

HResult LibrarySelection::GetGroupingFilter(IVEXAMLDataFilter** filter) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!filter) return E_POINTER;
    *filter = nullptr;
    return Guarded("giving the selected node's conditions", [&] {
        const auto model = FModel;
        const auto provider = model ? model->TreeOfNode() : Ref<IVEXAMLGroupingTreeDataProvider>();
        const auto node = provider ? model->Node() : std::vector<TreePair>();
        if (node.empty()) return E_FAIL;
        try {
            *filter = Tree(provider).Conditions(node).Detach();
        } catch (const LibraryError&) {
            return E_FAIL;
        }
        return S_OK;
    });
}

}  // namespace vexa::host
