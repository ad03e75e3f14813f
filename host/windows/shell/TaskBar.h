#pragma once
// The status bar: what goes on in the background, and at its end what did not work. Main thread.

#include "Library.h"
#include "Pane.h"
#include "WindowTexts.h"

#include <QStatusBar>
#include <QTimer>

#include <map>
#include <vector>

class QToolButton;

namespace vexa::host {

/// An item of a task that failed.
struct TaskProblem {
    QString What, Why;
};
/// Those of the last task of a kind.
std::vector<TaskProblem> ReadProblems(IVEXAMLSubscriptionStorage& storage, std::int32_t taskID);

class TaskBar final : public Pane<QStatusBar> {
    Q_OBJECT
public:
    TaskBar(MusicLibraryService& library, const LanguageService& language, QWidget* parent = nullptr);
    ~TaskBar() override;

    /// The storage whose tasks show; null for none. To be called again when tasks began or ended.
    void Update(const LibraryStorage* storage);
    /// Of what the window itself did.
    void AddProblems(std::vector<TaskProblem> problems);
    void OnThemeChanged();

private:
    class Entry;

    void Localize() override;
    void Poll();
    void ShowProblems();
    void NameProblems();

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
