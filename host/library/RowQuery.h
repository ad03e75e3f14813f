#pragma once
// Which rows of a storage are wanted, in what order, with which fields: a description that can be kept and changed. A
// filter object for the storage is built from it for every request anew.

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
    std::vector<PropertyValue> OneOf = {};  // not empty: one of these must be equal, in place of all the above
};

struct RowOrder {
    QString Field;
    IVEXAMLSortDirection::Direction Direction = IVEXAMLSortDirection::Ascending;
};

struct RowQuery {
    QStringList Fields;                              // the columns, which are also what Search looks at
    Ref<IVEXAMLGroupingTreeDataProvider> Tree = {};  // whose node narrows the rows; null: none does
    std::vector<TreePair> Node = {};                 // the way to it
    std::vector<RowCondition> Where = {};            // all of them must hold
    QJsonObject Within = {};                         // and so must a filter's conditions, as FilterJson.h writes them
    QString Search = {};
    std::vector<RowOrder> Sort = {};
    std::int32_t Offset = 0;
    std::int32_t Limit = 0;  // 0: all rows, whatever the offset
};

/// Main thread. Throws LibraryError for a field that the storage does not list, and for an order by one that rows do
/// not have. A condition on a field of tree nodes is a storage's own affair.
Ref<IVEXAMLDataFilter> BuildFilter(const LibraryStorage& storage, const RowQuery& query);
/// The columns of the rows, in the order asked for; throws LibraryError for one that rows do not have, and for none.
std::vector<const LibraryField*> Columns(const LibraryStorage& storage, const RowQuery& query);

}  // namespace vexa::host
