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
    /// E_NOTIMPL without a music-library service, and to a host of another version of the interfaces. E_UNEXPECTED,
    /// with everything undone and the reason logged, when something fails on the way, or when a plug-in object runs
    /// already.
    vexa::HResult Initialize(vexa::IVEXACore* core) noexcept override;
    /// Undoes what Initialize got to; nothing when that failed or was never called. Called from within an operation of
    /// the host's that the plug-in calls, it saves and lets nobody in any more; the rest follows as soon as that
    /// operation has returned and the event loop runs again (see LateEnd).
    void Finalize() noexcept override;
    /// Opens the host's options dialog at the podcasts' page, where the host has such a dialog.
    void Show(vexa::WindowHandle parentWindow) noexcept override;

protected:
    ~TVEXAPodcastsPlugin() override;

private:
    class LateEnd;

    void Start();
    /// Whether code of the client is on the stack, or another thread waits for what is: the client cannot go now.
    bool IsClientInUse() const;
    void Stop() noexcept;
    void LoadSettings();
    /// What the page sets is written at once: where the configuration differs, the host or another program has set it.
    void ReloadOptions();
    void SaveSettings();

    std::unique_ptr<TPodcastClient> FClient;
    vexa::Ref<TVEXAPodcastsOptionsFrame> FOptionsFrame;
    bool FIsRunning = false;  // the core reference is this object's
    bool FIsStarting = false;
    bool FIsEnding = false;           // Finalize was called
    bool FIsWithSettings = false;     // the host's configuration is being asked or told
    bool FAreSettingsLoaded = false;  // only what was loaded may be saved
};

}  // namespace podcasts
