#pragma once
// Checks whether the user's data can be saved.

#include <QString>

namespace vexa::host {

/// Why no files can be written in the folder, such as because the disk is full; empty when they can.
QString WhyNotWritable(const QString& folder);

}  // namespace vexa::host
