#pragma once
// Which rows of a storage are wanted, in what order and with which fields: a value that can be stored and changed. A
// new filter object for the storage is built from it for every request.

#include "Library.h"

#include <QJsonObject>
#include <QStringList>

#include <vector>

namespace vexa::host {

struct RowCondition {
    QString Field;
    IVEXAMLFieldFilter::Operations Operation = IVEXAMLFieldFilter::Equals;
    PropertyValue Value1 = {};
    PropertyValue Value2 = {};              // for Between
    std::vector<PropertyValue> OneOf = {};  // if not empty: the field must equal one of these; the rest is ignored
};

struct RowOrder {
    QString Field;
    IVEXAMLSortDirection::Direction Direction = IVEXAMLSortDirection::Ascending;
};

struct RowQuery {
    QStringList Fields;                              // the columns, in which Search looks, too
    Ref<IVEXAMLGroupingTreeDataProvider> Tree = {};  // the tree of Node; may be null
    std::vector<TreePair> Node = {};                 // the path to the tree node whose rows are wanted; empty: all
    std::vector<RowCondition> Where = {};            // all of these must hold
    QJsonObject Within = {};                         // a filter that must hold, too, as FilterJson.h writes it
    QString Search = {};
    std::vector<RowOrder> Sort = {};
    std::int32_t Offset = 0;
    std::int32_t Limit = 0;  // 0: all rows, whatever the offset
};

/// Main thread. Throws LibraryError for a field that the storage does not list, and for an order by a field that rows
/// do not have. Conditions on fields of tree nodes are passed on; whether they are allowed is up to the storage.
Ref<IVEXAMLDataFilter> BuildFilter(const LibraryStorage& storage, const RowQuery& query);
/// The columns of the rows, in the order of query.Fields. Throws LibraryError for a field that rows do not have, and
/// when there is no field.
std::vector<const LibraryField*> Columns(const LibraryStorage& storage, const RowQuery& query);

}  // namespace vexa::host
