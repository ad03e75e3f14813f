#include "TaskBar.h"

#include "ClampedLabel.h"
#include "ProblemDialog.h"
#include "Properties.h"
#include "WindowIcons.h"

#include <QBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPointer>
#include <QProgressBar>
#include <QToolButton>

#include <algorithm>

namespace vexa::host {

namespace {

constexpr int kPolling = 250;          // milliseconds
constexpr std::int32_t kOwnTask = -1;  // stands for the window's own tasks; no storage uses this ID
constexpr int kBarWidth = 90;
constexpr int kBarSteps = 1000;

}  // namespace

/// One task: how far it is, a button to cancel it, and its caption. Hidden until the caption is read by Update, because
/// a storage may hand over a caption that it fills with text only afterwards.
class TaskBar::Entry {
public:
    Entry(TaskBar& owner, const BackgroundTask& task)
        : FTexts(owner.FTexts),
          FTask(task),
          FWidget(new QWidget(&owner)),
          FBar(new QProgressBar),
          FItem(new QLabel),
          FCaption(new ClampedLabel(1)) {
        FBar->setTextVisible(false);
        FBar->setFixedWidth(kBarWidth);
        FBar->setRange(0, 0);
        auto* row = new QHBoxLayout(FWidget);
        row->setContentsMargins(6, 0, 6, 0);
        row->addWidget(FBar);
        row->addWidget(FItem);
        if (task.CanCancel()) {
            FCancel = new QToolButton;
            FCancel->setAutoRaise(true);
            FCancel->setFocusPolicy(Qt::StrongFocus);
            QObject::connect(FCancel, &QToolButton::clicked, FCancel, [task, button = FCancel] {
                button->setEnabled(false);
                task.Cancel();
            });
            row->addWidget(FCancel);
        }
        row->addWidget(FCaption, 1);
        Paint();
        FWidget->hide();
    }
    ~Entry() { delete FWidget; }

    QWidget* Widget() const { return FWidget; }
    const BackgroundTask& Task() const { return FTask; }
    void Update() {
        QString caption = ToQString(FTask.Caption.Get()).simplified();
        if (caption.endsWith(u':')) caption.back() = u'…';  // what the task works on is not known yet
        FCaption->SetText(caption);
        FBar->setAccessibleName(caption);
        const auto progress = FTask.Progress();
        FBar->setRange(0, progress ? kBarSteps : 0);
        if (progress) FBar->setValue(static_cast<int>(progress->Share * kBarSteps));
        const bool hasSeveral = progress && progress->Count > 1;
        FItem->setVisible(hasSeveral);
        if (hasSeveral)
            FItem->setText(WindowTexts::Filled(FTexts("TaskItem", QLocale().toString(progress->Item)),
                                               QLocale().toString(progress->Count)));
        FWidget->show();
        if (!FCancel) return;
        const QString name = FTexts("CancelTask", caption);
        FCancel->setAccessibleName(name);
        FCancel->setToolTip(Qt::convertFromPlainText(name));
    }
    void Paint() {
        if (FCancel) FCancel->setIcon(WindowIcon(QStringLiteral("cancel")));
    }

private:
    const WindowTexts& FTexts;
    const BackgroundTask FTask;
    const QPointer<QWidget> FWidget;
    QProgressBar* const FBar;
    QLabel* const FItem;
    ClampedLabel* const FCaption;
    QToolButton* FCancel = nullptr;
};

std::vector<TaskProblem> ReadProblems(IVEXAMLSubscriptionStorage& storage, std::int32_t taskID) {
    std::vector<TaskProblem> problems;
    Ref<IVEXAObjectList> outcomes;
    if (Failed(storage.GetOutcomes(taskID, 0, outcomes.Put())) || !outcomes) return problems;
    const std::int32_t count = outcomes->GetCount();
    for (std::int32_t i = 0; i < count; ++i) {
        Ref<IVEXAMLTaskOutcome> outcome;
        if (vexa::Failed(outcomes->GetObject(i, IVEXAMLTaskOutcome::IID, outcome.PutVoid()))) continue;
        if (const QString why = TextOf(outcome.Get(), IVEXAMLTaskOutcome::Error); !why.isEmpty())
            problems.push_back({TextOf(outcome.Get(), IVEXAMLTaskOutcome::Caption), why});
    }
    return problems;
}

TaskBar::TaskBar(MusicLibraryService& library, const LanguageService& language, QWidget* parent)
    : Pane(parent), FLibrary(library), FTexts(language), FProblemButton(new QToolButton), FDismiss(new QToolButton) {
    setSizeGripEnabled(false);
    for (QToolButton* button : {FProblemButton, FDismiss}) {
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::StrongFocus);
        button->hide();
        addPermanentWidget(button);
    }
    FProblemButton->setObjectName(QStringLiteral("Problems"));
    FProblemButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    connect(FProblemButton, &QToolButton::clicked, this, &TaskBar::ShowProblems);
    connect(FDismiss, &QToolButton::clicked, this, [this] {
        FProblems.clear();
        UpdateProblemButton();
    });
    FPolling.setInterval(kPolling);
    connect(&FPolling, &QTimer::timeout, this, &TaskBar::Poll);
    Localize();
    OnThemeChanged();
}

TaskBar::~TaskBar() = default;

void TaskBar::Update(const LibraryStorage* storage) {
    const QString id = storage ? storage->ID() : QString();
    if (FStorageID != id) {
        FEntries.clear();
        FProblems.clear();
        FStorageID = id;
    }
    std::map<std::int32_t, std::unique_ptr<Entry>> entries;
    if (storage)
        for (const BackgroundTask& task : FLibrary.Tasks(id)) {
            auto& entry = entries[task.ID];
            if (const auto known = FEntries.find(task.ID); known != FEntries.end()) {
                entry = std::move(known->second);
                FEntries.erase(known);
                continue;
            }
            FProblems.erase(task.ID);
            entry = std::make_unique<Entry>(*this, task);
            addWidget(entry->Widget(), 1);
            QMetaObject::invokeMethod(this, &TaskBar::Poll, Qt::QueuedConnection);
        }
    // The entries left in FEntries are those of tasks that have ended.
    if (const auto subscriptions = storage ? storage->Subscriptions() : Ref<IVEXAMLSubscriptionStorage>())
        for (const auto& [task, entry] : FEntries)
            if (auto problems = ReadProblems(*subscriptions, task); !problems.empty())
                FProblems[task] = std::move(problems);
    FEntries = std::move(entries);
    FEntries.empty() ? FPolling.stop() : FPolling.start();
    UpdateProblemButton();
}

bool TaskBar::HasWorkToLose() const {
    return std::any_of(FEntries.begin(), FEntries.end(),
                       [](const auto& task) { return task.second->Task().CancelEvent != nullptr; });
}

void TaskBar::AddProblems(std::vector<TaskProblem> problems) {
    FProblems[kOwnTask] = std::move(problems);
    UpdateProblemButton();
}

void TaskBar::AddProblem(TaskProblem problem) {
    FProblems[kOwnTask].push_back(std::move(problem));
    UpdateProblemButton();
}

void TaskBar::Poll() {
    for (const auto& [task, entry] : FEntries) entry->Update();
}

void TaskBar::UpdateProblemButton() {
    std::size_t count = 0;
    for (const auto& [task, problems] : FProblems) count += problems.size();
    FProblemButton->setText(FTexts("Problems", QString::number(count)));
    FProblemButton->setVisible(count > 0);
    FDismiss->setVisible(count > 0);
}

void TaskBar::ShowProblems() {
    std::vector<TaskProblem> all;
    for (const auto& [task, problems] : FProblems) all.insert(all.end(), problems.begin(), problems.end());
    ShowProblemDialog(FTexts("ProblemsTitle"), all, FTexts, window());
}

void TaskBar::Localize() {
    setAccessibleName(FTexts("Tasks"));
    FDismiss->setAccessibleName(FTexts("Dismiss"));
    FDismiss->setToolTip(FTexts("Dismiss"));
    // The storage gives its reasons in the language of the moment. The window's own are kept as they were said.
    const auto subscriptions =
        FStorageID.isEmpty() ? Ref<IVEXAMLSubscriptionStorage>() : LibraryStorage(FLibrary, FStorageID).Subscriptions();
    for (auto& [task, problems] : FProblems)
        if (task != kOwnTask && subscriptions) problems = ReadProblems(*subscriptions, task);
    UpdateProblemButton();
    Poll();
}

void TaskBar::OnThemeChanged() {
    FProblemButton->setIcon(WindowIcon(QStringLiteral("warning")));
    FDismiss->setIcon(WindowIcon(QStringLiteral("remove")));
    for (const auto& [task, entry] : FEntries) entry->Paint();
}

}  // namespace vexa::host
