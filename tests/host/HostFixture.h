#pragma once
// A host with a profile of its own.

#include "ErrorInfo.h"
#include "Host.h"
#include "Strings.h"
#include "TempFolder.h"
#include "Texts.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace vexa;

class HostTest : public testing::Test {
protected:
    static host::HostOptions Options(const tests::TempFolder& profile) {
        return {profile.Path(), QStringLiteral(LANGUAGES), QStringLiteral("English"), {}};
    }

    /// Throws when the menus have no item with this ID.
    Ref<IVEXAMenuItem> MenuItem(const QString& id) {
        auto item = Host.Menus().Find(id);
        if (!item) throw std::runtime_error("the menus have no item " + id.toStdString());
        return item;
    }

    tests::TempFolder Profile;
    host::Host Host{Options(Profile)};
};
