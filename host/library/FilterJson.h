#pragma once
// Filters as JSON, for storing them in a file and for copying them. One thread at a time.
//
//     {"operation":1, "children":[{"field":"State","operation":0,"value":{"int32":1}},
//                                 {"field":"ID","values":["a","b"]},
//                                 {"operation":0,"children":[…]}],
//      "search":"…", "limit":0, "offset":0, "sort":[{"field":"Title","direction":1}]}
//
// "search", "limit", "offset" and "sort", which only whole filters have, are present only when they differ from the
// default.

#include "VEXA.SDK.MusicLibrary.Rows.h"

#include <QJsonObject>
#include <QStringList>

namespace vexa::host {

/// Writes a group or whole filter of any implementation. Children other than conditions and groups are left out.
QJsonObject FilterToJson(IVEXAMLGroupFilter& filter);
/// Adds the conditions and groups of the JSON to one of the host's filters, and sets the filter's operation and the
/// other properties. Invalid parts are left out; false when there were any.
[[nodiscard]] bool AddJsonToFilter(const QJsonObject& json, IVEXAMLGroupFilter& filter);

/// The names of the fields of all conditions, each once.
QStringList FieldsOfFilter(const QJsonObject& json);

}  // namespace vexa::host
