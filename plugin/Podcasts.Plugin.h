#pragma once
// The plug-in object: wires everything together when the host starts it and takes it apart when the host ends.

#include "Podcasts.Core.h"
#include "Podcasts.Plugin.Dialogs.Settings.h"
#include "VEXACustomPlugin.h"

#include <memory>

namespace podcasts {

/// All operations are called by the host on its main thread. One object can be initialised at a time in a process.
class TVEXAPodcastsPlugin : public vexa::Implements<vexa::TVEXACustomPlugin, vexa::IVEXAExternalSettingsDialog> {
public:
    const char16_t* GetInformation(std::int32_t index) noexcept override;
    std::uint32_t GetCategories() noexcept override;
    /// E_NOTIMPL without a music-library service. E_UNEXPECTED, with everything undone and the reason logged, when
    /// something fails on the way, or when a plug-in object runs already.
    vexa::HResult Initialize(vexa::IVEXACore* core) noexcept override;
    /// Does what Initialize got to; nothing when that failed or was never called.
    void Finalize() noexcept override;
    /// Opens the host's options dialog at the podcasts' page, where the host has such a dialog.
    void Show(vexa::WindowHandle parentWindow) noexcept override;

protected:
    ~TVEXAPodcastsPlugin() override;

private:
    void Start();
    void Stop() noexcept;
    void LoadSettings();
    /// What the page sets is written at once: where the configuration differs, the host or another program has set it.
    void ReloadOptions();
    void SaveSettings();

    std::unique_ptr<TPodcastClient> FClient;
    vexa::Ref<TVEXAPodcastsOptionsFrame> FOptionsFrame;
    bool FIsRunning = false;          // the core reference is this object's
    bool FAreSettingsLoaded = false;  // only what was loaded may be saved
};

}  // namespace podcasts
