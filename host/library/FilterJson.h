#pragma once
// Filters as JSON: how they are kept in a file, and copied. One thread at a time.
//
//     {"operation":1, "children":[{"field":"State","operation":0,"value":{"int32":1}},
//                                 {"field":"ID","values":["a","b"]},
//                                 {"operation":0,"children":[…]}],
//      "search":"…", "limit":0, "offset":0, "sort":[{"field":"Title","direction":1}]}
//
// What a plain group has not ("search" to "sort") only stands there when it differs from the default.

#include "VEXA.SDK.MusicLibrary.Rows.h"

#include <QJsonObject>
#include <QStringList>

namespace vexa::host {

/// Anybody's group or whole filter. What it holds beside conditions and groups is left out.
QJsonObject FilterToJson(IVEXAMLGroupFilter& filter);
/// Adds what the JSON holds to a filter of the host's, and sets its operation and the rest. What it does not understand
/// is left out; false when there was any of that.
[[nodiscard]] bool AddJsonToFilter(const QJsonObject& json, IVEXAMLGroupFilter& filter);

/// The fields of all conditions, each once.
QStringList FieldsOfFilter(const QJsonObject& json);

}  // namespace vexa::host
