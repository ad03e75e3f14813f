#pragma once
// From the file of a plug-in to its running object. Main thread.

#include "VEXA.Runtime.Reason.h"
#include "VEXA.SDK.Core.h"

#include <QString>

namespace vexa::host {

/// Why a plug-in was not loaded; the reason says what to do about it.
class PluginError : public ReasonError {
public:
    PluginError(const Reason& why, HResult code) : ReasonError(why), FCode(code) {}
    HResult Code() const noexcept { return FCode; }

private:
    HResult FCode;
};

/// A loaded plug-in. Its library stays loaded until the process ends.
class Plugin {
public:
    /// Loads the library and obtains the plug-in's object. Throws PluginError if the file is missing or not a plug-in.
    explicit Plugin(const QString& fileName);
    /// Wraps a plug-in object that exists already; `fileName` is the name that messages give it.
    Plugin(Ref<IVEXAPlugin> object, const QString& fileName) : FFileName(fileName), FObject(std::move(object)) {}
    Plugin(Plugin&&) noexcept = default;
    Plugin& operator=(Plugin&&) noexcept = default;

    /// Throws PluginError when the plug-in refuses to start or was built with another version of the interfaces. After
    /// that the plug-in may only be finalised and destroyed.
    void Initialize(IVEXACore* core);
    void Finalize();

    QString FileName() const { return FFileName; }
    QString Information(std::int32_t index) const;
    std::uint32_t Categories() const { return FObject->GetCategories(); }
    IVEXAPlugin* Object() const { return FObject.Get(); }

private:
    QString FFileName;
    Ref<IVEXAPlugin> FObject;
};

/// "0x80004001"
QString ToHex(HResult code);

}  // namespace vexa::host
