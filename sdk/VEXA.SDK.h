#pragma once
// The whole contract between host and plug-ins. Start with VEXA.SDK.Objects.h (the conventions) and VEXA.SDK.Core.h
// (the entry point, a plug-in's life, the core). docs/sdk.md is the tour.

#include "VEXA.SDK.Base.h"
#include "VEXA.SDK.Core.h"
#include "VEXA.SDK.Files.h"
#include "VEXA.SDK.Images.h"
#include "VEXA.SDK.Menus.h"
#include "VEXA.SDK.MusicLibrary.h"
#include "VEXA.SDK.Objects.h"
#include "VEXA.SDK.Options.h"
#include "VEXA.SDK.Playlists.h"
