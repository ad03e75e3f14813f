#pragma once
// The status bar: the tasks that run in the background, and afterwards what failed in them. Main thread.

#include "Library.h"
#include "Pane.h"
#include "WindowTexts.h"

#include <QStatusBar>
#include <QTimer>

#include <map>
#include <vector>

class QToolButton;

namespace vexa::host {

/// An item of a task that failed, and the reason.
struct TaskProblem {
    QString Item, Reason;
};
/// The failed items of the last task with that ID.
std::vector<TaskProblem> ReadProblems(IVEXAMLSubscriptionStorage& storage, std::int32_t taskID);

class TaskBar final : public Pane<QStatusBar> {
    Q_OBJECT
public:
    TaskBar(MusicLibraryService& library, const LanguageService& language, QWidget* parent = nullptr);
    ~TaskBar() override;

    /// Shows the tasks of a storage; null for none. Call it again whenever tasks began or ended.
    void Update(const LibraryStorage* storage);
    /// Whether a task runs that would not begin anew by itself, as the next refresh does.
    bool HasWorkToLose() const;
    /// AddProblems replaces the problems of the window's own tasks, AddProblem adds one to them.
    void AddProblems(std::vector<TaskProblem> problems);
    void AddProblem(TaskProblem problem);
    void OnThemeChanged();

private:
    class Entry;

    void Localize() override;
    void Poll();
    void ShowProblems();
    void UpdateProblemButton();

    MusicLibraryService& FLibrary;
    const WindowTexts FTexts;
    QString FStorageID;
    std::map<std::int32_t, std::unique_ptr<Entry>> FEntries;
    std::map<std::int32_t, std::vector<TaskProblem>> FProblems;  // by task
    QToolButton* const FProblemButton;
    QToolButton* const FDismiss;
    QTimer FPolling;
};

}  // namespace vexa::host
