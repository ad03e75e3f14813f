#pragma once
// The dialog that lists what failed and why. Main thread.

#include "TaskBar.h"

namespace vexa::host {

/// Shows the list and returns at once.
void ShowProblemDialog(const QString& title, const std::vector<TaskProblem>& problems, const WindowTexts& texts,
                       QWidget* parent);

}  // namespace vexa::host
