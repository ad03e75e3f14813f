#pragma once
// The options of the commands that ask for rows.

#include "RowQuery.h"

#include <QStringList>

namespace vexa::host {

/// Reads [--node VALUE]… [--where FIELD OP VALUE [VALUE2]]… [--search TEXT] [--sort FIELD[:desc]]…
/// [--range OFFSET,COUNT] [--fields A,B,C]. Without --fields, all fields of the rows. Throws CommandError and
/// LibraryError.
RowQuery ReadRowOptions(const LibraryStorage& storage, const QStringList& arguments);

/// The path to a node of the storage's first tree, given by the nodes' values. Throws CommandError when it does not
/// exist.
std::vector<TreePair> FindNode(const LibraryStorage& storage, const QStringList& values);

/// The storage's first tree; throws CommandError when it has none.
Ref<IVEXAMLGroupingTreeDataProvider> FirstTree(const LibraryStorage& storage);

}  // namespace vexa::host
