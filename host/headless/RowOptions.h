#pragma once
// The options by which a line asks for rows.

#include "RowQuery.h"

#include <QStringList>

namespace vexa::host {

/// Reads [--node VALUE]… [--where FIELD OP VALUE [VALUE2]]… [--search TEXT] [--sort FIELD[:desc]]…
/// [--range OFFSET,COUNT] [--fields A,B,C]. Without --fields: all that rows have. Throws CommandError and LibraryError.
RowQuery ReadRowOptions(const LibraryStorage& storage, const QStringList& words);

/// The way to a node of the storage's first tree, by the nodes' values; throws CommandError when it is not there.
std::vector<TreePair> FindNode(const LibraryStorage& storage, const QStringList& values);

/// The storage's first tree; throws CommandError when it has none.
Ref<IVEXAMLGroupingTreeDataProvider> FirstTree(const LibraryStorage& storage);

}  // namespace vexa::host
