#pragma once
// What a storage knows of a node of its tree (IVEXAMLNodeInfo). Any thread.

#include "Library.h"

namespace vexa::host {

struct NodeInfo {
    QString Title, Author, Description, WebAddress;  // from feeds: not to be trusted
    std::int64_t Rows = 0, Untouched = 0;
    double Newest = 0;  // OLE Automation date in UTC; 0 without rows

    bool operator==(const NodeInfo&) const = default;
};

/// Nothing when the storage knows nothing of the node.
std::optional<NodeInfo> ReadNodeInfo(IVEXAMLNodeInfo& storage, const TreePair& node);

}  // namespace vexa::host
