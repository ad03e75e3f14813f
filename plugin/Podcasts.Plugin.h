#pragma once
// The plug-in object: creates and connects everything when the host starts it, and takes it apart when the host ends.

#include "Podcasts.Core.h"
#include "Podcasts.Find.Options.h"
#include "Podcasts.Plugin.Dialogs.Backups.h"
#include "Podcasts.Plugin.Dialogs.Settings.h"
#include "Podcasts.Plugin.Dialogs.Storage.h"
#include "VEXACustomPlugin.h"

#include <memory>

namespace podcasts {

/// The host calls all operations on its main thread. Only one object in a process can be initialised at a time.
class TVEXAPodcastsPlugin : public vexa::Implements<vexa::TVEXACustomPlugin, vexa::IVEXAExternalSettingsDialog> {
public:
    const char16_t* GetInformation(std::int32_t index) noexcept override;
    std::uint32_t GetCategories() noexcept override;
    /// E_NOTIMPL without a music-library service, and for a host with another major version of the interfaces.
    /// E_UNEXPECTED, with everything undone and the reason logged, when any step fails, or when another plug-in object
    /// is running already.
    vexa::HResult Initialize(vexa::IVEXACore* core) noexcept override;
    /// Undoes what Initialize has done; does nothing when Initialize failed or was never called. If Finalize is called
    /// while the plug-in is inside an operation of the host, it saves the settings and closes the client to new
    /// callers; the rest follows as soon as that operation has returned and the event loop runs again (see LateEnd).
    void Finalize() noexcept override;
    /// Opens the host's options dialog at the podcasts' page, if the host has such a dialog.
    void Show(vexa::WindowHandle parentWindow) noexcept override;

protected:
    ~TVEXAPodcastsPlugin() override;

private:
    class LateEnd;

    void Start();
    /// Whether code of the client is on the stack, or another thread waits for such code. The client cannot be
    /// destroyed then.
    bool IsClientInUse() const;
    void Stop() noexcept;
    void LoadSettings();
    /// Reads the options again. Options set on the page are written at once, so if the configuration differs from them,
    /// the host or another program has changed it.
    void ReloadOptions();
    void SaveSettings();

    std::unique_ptr<TPodcastClient> FClient;
    const std::shared_ptr<TPodcastFindOptions> FFindOptions = std::make_shared<TPodcastFindOptions>();
    vexa::Ref<TVEXAPodcastsOptionsFrame> FOptionsFrame;
    vexa::Ref<TVEXAPodcastsStorageFrame> FStorageFrame;
    vexa::Ref<TVEXAPodcastsBackupsFrame> FBackupsFrame;
    bool FIsRunning = false;  // this object has set the core reference
    bool FIsStarting = false;
    bool FIsEnding = false;           // Finalize was called
    bool FIsWithSettings = false;     // the host's configuration is being read or written
    bool FAreSettingsLoaded = false;  // settings may be saved only after they were loaded
};

}  // namespace podcasts
