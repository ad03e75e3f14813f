#pragma once
// A host with a profile of its own.

#include "ErrorInfo.h"
#include "Host.h"
#include "Strings.h"
#include "TempFolder.h"
#include "Texts.h"
#include "Waiting.h"

#include <gtest/gtest.h>

#include <functional>

using namespace Qt::StringLiterals;
using namespace vexa;

/// An event that calls a function.
class Event final : public RefCountedObject<IVEXAActionEvent> {
public:
    explicit Event(std::function<void()> act) : FAct(std::move(act)) { ++Alive; }
    ~Event() override { --Alive; }
    void OnExecute(IUnknown*) noexcept override { FAct(); }
    static inline int Alive = 0;

private:
    const std::function<void()> FAct;
};

inline QStringList Files(const host::Playlist& playlist) {
    QStringList files;
    for (const host::PlaylistEntry& entry : playlist.Entries()) files += entry.File;
    return files;
}

class HostTest : public testing::Test {
protected:
    static host::HostOptions Options(const tests::TempFolder& profile) {
        return {profile.Path(), QStringLiteral(LANGUAGES), QStringLiteral("English"), {}};
    }

    /// Throws when the menus have no item with this ID.
    Ref<IVEXAMenuItem> RegisteredItem(const QString& id) {
        auto item = Host.Menus().Find(id);
        if (!item) throw std::runtime_error("the menus have no item " + id.toStdString());
        return item;
    }

    tests::TempFolder Profile;
    host::Host Host{Options(Profile)};
};
