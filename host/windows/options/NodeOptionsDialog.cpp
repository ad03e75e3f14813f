#include "NodeOptionsDialog.h"

#include "MediaOutput.h"
#include "Properties.h"
#include "PropertyStore.h"
#include "Strings.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

#include <algorithm>
#include <cmath>

namespace vexa::host {

namespace {

constexpr double kPercent = 100;
constexpr int kMaxCaption = 60;  // letters

Ref<IVEXAMLNodeOptions> OptionsOf(MusicLibraryService& library, const QString& storageID) {
    Ref<IVEXAMLNodeOptions> options;
    library.GetStorageByID(MakeString(storageID).Get(), IVEXAMLNodeOptions::IID, options.PutVoid());
    return options;
}

/// Null when the node has none.
Ref<IVEXAObjectList> ReadOptions(MusicLibraryService& library, const NodeName& node) {
    Ref<IVEXAObjectList> list;
    const auto options = OptionsOf(library, node.StorageID);
    const Variant value = ToVariant(PropertyValue(node.Value));
    if (!options || vexa::Failed(options->GetOptions(MakeString(node.Field).Get(), &value, list.Put()))) return {};
    return list;
}

/// Escapes mnemonics, which texts of storages do not have.
QString Plain(QString text) {
    return text.replace(u'&', QStringLiteral("&&"));
}

QLabel* NewLabel(const QString& text, QWidget* of) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    of->setAccessibleName(text);
    return label;
}

QFormLayout* AddGroup(QBoxLayout& whole, const QString& title) {
    auto* group = new QGroupBox(Plain(title));
    auto* form = new QFormLayout(group);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    whole.addWidget(group);
    return form;
}

}  // namespace

bool NodeOptionsDialog::Has(MusicLibraryService& library, const NodeName& node) {
    return static_cast<bool>(ReadOptions(library, node));
}

NodeOptionsDialog::NodeOptionsDialog(MusicLibraryService& library, NodeSettings& settings,
                                     const LanguageService& language, const NodeName& node, const QString& caption,
                                     QWidget* parent)
    : QDialog(parent), FLibrary(library), FSettings(settings), FTexts(language), FNode(node) {
    setModal(true);
    setObjectName(QStringLiteral("NodeOptions"));
    QString title = FTexts.Rows(node.StorageID, WindowTexts::RowText::NodeOptions);
    if (title.endsWith(u'…')) title.chop(1);
    setWindowTitle(title);
    auto* whole = new QVBoxLayout(this);
    const QString shown = caption.simplified();
    AddStoragesOptions(*AddGroup(*whole, shown.size() > kMaxCaption ? QString(shown.left(kMaxCaption) + u'…') : shown));
    AddListening(*AddGroup(*whole, FTexts("NodeListening")));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    buttons->button(QDialogButtonBox::Ok)->setText(language.Text(QStringLiteral("CommonDialogs\\B1")));
    buttons->button(QDialogButtonBox::Cancel)->setText(language.Text(QStringLiteral("CommonDialogs\\B2")));
    connect(buttons, &QDialogButtonBox::accepted, this, &NodeOptionsDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    whole->addStretch();
    whole->addWidget(buttons);
}

void NodeOptionsDialog::AddStoragesOptions(QFormLayout& form) {
    const auto list = ReadOptions(FLibrary, FNode);
    for (std::int32_t i = 0; list && i < list->GetCount(); ++i) {
        Ref<IVEXAMLOption> option;
        if (vexa::Failed(list->GetObject(i, IVEXAMLOption::IID, option.PutVoid()))) continue;
        const QString id = TextOf(option.Get(), IVEXAMLOption::ID);
        const QString caption = TextOf(option.Get(), IVEXAMLOption::Caption);
        const std::int32_t value = NumberOf(option.Get(), IVEXAMLOption::Value);
        if (FOptions.contains(id)) continue;
        switch (NumberOf(option.Get(), IVEXAMLOption::Kind, -1)) {
            case IVEXAMLOption::Check: {
                auto* box = new QCheckBox(Plain(caption));
                box->setChecked(value != 0);
                form.addRow(box);
                FOptions[id] = {value, [box] { return box->isChecked() ? 1 : 0; }};
                break;
            }
            case IVEXAMLOption::Number: {
                auto* number = new QSpinBox;
                number->setRange(NumberOf(option.Get(), IVEXAMLOption::Least),
                                 NumberOf(option.Get(), IVEXAMLOption::Most));
                number->setValue(value);
                form.addRow(NewLabel(caption, number), number);
                FOptions[id] = {value, [number] { return number->value(); }};
                break;
            }
            case IVEXAMLOption::Choice: {
                auto* choices = new QComboBox;
                choices->addItems(TextOf(option.Get(), IVEXAMLOption::Choices).split(u'|'));
                if (const QString general = TextOf(option.Get(), IVEXAMLOption::General); !general.isEmpty())
                    choices->setItemText(0, choices->itemText(0) + u" (" + general + u')');
                choices->setCurrentIndex(value);
                form.addRow(NewLabel(caption, choices), choices);
                FOptions[id] = {value, [choices] { return choices->currentIndex(); }};
                break;
            }
            default:
                break;
        }
    }
}

QSpinBox* NodeOptionsDialog::NewSeconds(int value) {
    auto* seconds = new QSpinBox;
    seconds->setRange(0, NodeSettings::kMaxSkip);
    seconds->setSuffix(FTexts("NodeListening", 3));
    seconds->setSingleStep(5);
    seconds->setValue(value);
    return seconds;
}

void NodeOptionsDialog::AddListening(QFormLayout& form) {
    const ListeningSettings settings = FSettings.Get(FNode);
    FSpeed = new QDoubleSpinBox;
    FSpeed->setRange(MediaOutput::kSlowest, MediaOutput::kFastest);
    FSpeed->setSingleStep(0.1);
    FSpeed->setSuffix(QStringLiteral(" ×"));
    FSpeed->setValue(settings.Speed);
    form.addRow(NewLabel(FTexts.Player("Speed"), FSpeed), FSpeed);
    FSkipStart = NewSeconds(settings.SkipStart);
    form.addRow(NewLabel(FTexts("NodeListening", 1), FSkipStart), FSkipStart);
    FSkipEnd = NewSeconds(settings.SkipEnd);
    form.addRow(NewLabel(FTexts("NodeListening", 2), FSkipEnd), FSkipEnd);
    FVolume = new QSpinBox;
    FVolume->setRange(static_cast<int>(NodeSettings::kLeastVolume * kPercent),
                      static_cast<int>(NodeSettings::kMostVolume * kPercent));
    FVolume->setSingleStep(10);
    FVolume->setSuffix(QStringLiteral(" %"));
    FVolume->setValue(static_cast<int>(std::lround(settings.Volume * kPercent)));
    form.addRow(NewLabel(FTexts.Player("Volume"), FVolume), FVolume);
}

void NodeOptionsDialog::accept() {
    // The node may have moved, and its storage may have ended, while the dialog was open.
    const NodeName node = FSettings.Present(FNode).value_or(FNode);
    const auto options = OptionsOf(FLibrary, node.StorageID);
    bool isStored = true;
    for (auto& [id, option] : FOptions) {
        const std::int32_t chosen = option.Chosen();
        if (chosen == option.Value) continue;  // unchanged here, but perhaps elsewhere
        const Variant value = ToVariant(PropertyValue(node.Value)), wanted = ToVariant(PropertyValue(chosen));
        const bool isSet = options && !vexa::Failed(options->SetOption(MakeString(node.Field).Get(), &value,
                                                                       MakeString(id).Get(), &wanted));
        if (isSet) option.Value = chosen;
        isStored = isStored && isSet;
    }
    FSettings.Set(node, {FSpeed->value(), FSkipStart->value(), FSkipEnd->value(), FVolume->value() / kPercent});
    if (isStored) return QDialog::accept();
    QMessageBox::warning(this, windowTitle(), FTexts("NodeListening", 4));
}

}  // namespace vexa::host
