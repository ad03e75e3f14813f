#pragma once
// Whether the user's data can be kept.

#include <QString>

namespace vexa::host {

/// Empty when files can be made and filled in the folder, or why they cannot, such as on a full disk.
QString WhyNotWritable(const QString& folder);

}  // namespace vexa::host
