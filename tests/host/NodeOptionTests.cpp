// The settings of a node: its storage's options, and how its files are played.

#include "MainWindow.h"
#include "NodeOptionsDialog.h"
#include "PlaybackFixture.h"
#include "StorageParts.h"

#include <QComboBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QSpinBox>

using namespace vexa::host;
using tests::WaitUntil;

namespace {

/// Lectures in series; a series has options.
struct Lecture {
    QString Series, File;
};

class Lectures final : public tests::RowStorage<Lecture, IVEXAMLNodeOptions, IVEXAExtensionFileInfoProvider> {
public:
    explicit Lectures(std::vector<Lecture> rows) : RowStorage("Tests.Lectures", "Lectures", std::move(rows)) {}

    HResult GetFields(std::int32_t schema, IVEXAObjectList** fields) noexcept override {
        using Field = IVEXAMLDataField;
        const Ref<IVEXAObjectList> list(new ObjectList);
        if (schema == kSchemaAllFields) {
            list->Add(tests::MakeField("Series", Field::Text, Field::Readable | Field::Filterable).Get());
            list->Add(tests::MakeField("File", Field::FileName, Field::Readable | Field::Internal).Get());
        }
        *fields = Ref(list).Detach();
        return S_OK;
    }
    HResult QueryFileInfo(IVEXAString* file, IVEXAFileInfo* info) noexcept override {
        for (const Lecture& lecture : Rows)
            if (lecture.File == ToQString(file))
                return info->SetValueAsObject(IVEXAFileInfo::Album, MakeString(lecture.Series).Get());
        return E_FAIL;
    }
    HResult GetOptions(IVEXAString*, const Variant* value, IVEXAObjectList** options) noexcept override {
        *options = nullptr;
        if (ToText(FromVariant(*value)) != Name) return E_FAIL;
        const Ref<IVEXAObjectList> list(new ObjectList);
        const auto add = [&](const char* id, std::int32_t kind, std::int32_t number) {
            const Ref<IVEXAMLOption> option(new PropertyList<IVEXAMLOption>);
            option->SetValueAsObject(IVEXAMLOption::ID, MakeString(id).Get());
            option->SetValueAsObject(IVEXAMLOption::Caption, MakeString(u"the "_s + id).Get());
            option->SetValueAsInt32(IVEXAMLOption::Kind, kind);
            option->SetValueAsInt32(IVEXAMLOption::Value, number);
            option->SetValueAsObject(IVEXAMLOption::Choices, MakeString("as usual|A|B").Get());
            option->SetValueAsObject(IVEXAMLOption::General, MakeString("B").Get());
            option->SetValueAsInt32(IVEXAMLOption::Least, 0);
            option->SetValueAsInt32(IVEXAMLOption::Most, 9);
            list->Add(option.Get());
        };
        add("check", IVEXAMLOption::Check, 1);
        add("number", IVEXAMLOption::Number, 3);
        add("choice", IVEXAMLOption::Choice, 2);
        add("unknown", 77, 1);
        *options = Ref(list).Detach();
        return S_OK;
    }
    HResult SetOption(IVEXAString* field, const Variant* value, IVEXAString* id, const Variant* to) noexcept override {
        if (FailsToSet) return E_FAIL;
        Set += ToQString(field) + u' ' + ToText(FromVariant(*value)) + u' ' + ToQString(id) + u'=' +
               ToText(FromVariant(*to));
        return S_OK;
    }
    HResult GetPresentNode(IVEXAString* field, Variant* value) noexcept override {
        const QString text = ToText(FromVariant(*value)), name = ToQString(field);
        if (name == u"Series") {
            if (text == Name) return S_FALSE;
            if (text != FormerName) return E_FAIL;
        } else if (std::none_of(Rows.begin(), Rows.end(), [&](const Lecture& row) { return row.File == text; })) {
            return E_FAIL;
        }
        const QString series = u"Series"_s;
        field->SetChars(reinterpret_cast<const char16_t*>(series.utf16()), static_cast<std::int32_t>(series.size()));
        *value = ToVariant(PropertyValue(Name));
        return S_OK;
    }

    QString Name = u"Logic"_s, FormerName = u"Reason"_s;
    QStringList Set;
    bool FailsToSet = false;

private:
    QString Value(const Lecture& row, const QString& field) const override {
        return field == u"Series" ? row.Series : row.File;
    }
    bool Meets(const Lecture& row, const QString& field, const QString& value) const override {
        return Value(row, field) == value;
    }
    bool Contains(const Lecture&, const QString&) const override { return true; }
    std::vector<TreeNode> NodesBelow(const QString& value) const override {
        using Node = IVEXAMLGroupingTreeDataProviderSelection;
        if (!value.isEmpty()) return {};
        return {{"Logic", Node::Standalone, Node::Source, {"Series", Name}}};
    }
};

class NodeOptions : public PlaybackTest {
protected:
    void Register(std::vector<Lecture> rows) {
        Storage = Ref<Lectures>(new Lectures(std::move(rows)));
        ASSERT_EQ(Host.PluginCore().RegisterExtension(IVEXAServiceMusicLibrary::IID, Storage->Identity()), S_OK);
        ASSERT_EQ(Host.PluginCore().RegisterExtension(IVEXAServiceFileInfo::IID, Storage->Identity()), S_OK);
    }
    /// Plays the file to its end: where it began, and where it ended.
    std::pair<double, double> Hear(const QString& file) {
        double first = -1, last = 0;
        QObject context;
        QObject::connect(&*Player, &Playback::PositionChanged, &context, [&](double seconds) {
            if (first < 0 && Player->IsPlaying()) first = seconds;
            last = seconds;
        });
        Heard.clear();
        Player->Play(file);
        EXPECT_TRUE(WaitUntil([&] { return Heard.contains(file); }, std::chrono::seconds(20)));
        return {first, last};
    }

    const NodeName Logic{u"Tests.Lectures"_s, u"Series"_s, u"Logic"_s};
    Ref<Lectures> Storage;
};

TEST_F(NodeOptions, BothEndsOfItsFilesAreSkippedIfThereIsSomethingBetweenThem) {
    const QString file = Tone("long.wav", 5), brief = Tone("brief.wav", 1.5), other = Tone("other.wav", 1);
    Register({{"Logic", file}, {"Logic", brief}});
    Player->Nodes().Set(Logic, {1, 2, 1, 1});
    auto [begin, end] = Hear(file);
    EXPECT_GE(begin, 2);
    EXPECT_GE(end, 4);
    EXPECT_LT(end, 4.9);
    EXPECT_EQ(Player->SavedPositions().Find(file), nullptr) << "it counts as heard";
    std::tie(begin, end) = Hear(brief);
    EXPECT_GE(end, 1.2) << "a short file is heard whole";
    EXPECT_LT(Hear(other).first, 1) << "a file of no node";
    // Where a file was left takes precedence, unless that is in the part that is skipped.
    for (const auto& [left, expected] : {std::pair(3.0, 3.0), {1.0, 2.0}}) {
        ASSERT_TRUE(Plays(file));
        ASSERT_TRUE(SeeksTo(left));
        Player->Stop();
        Player->Play(file);
        EXPECT_NEAR(Player->Position(), expected, 0.7) << left;
        Player->Stop();
    }
    // A jump into the part at the end is a wish to hear it.
    ASSERT_TRUE(Plays(file));
    Player->Seek(4.2);
    EXPECT_GE(Hear(file).second, 4.5);
}

TEST_F(NodeOptions, ASpeedKeptByAlbumBecomesTheNodesOnce) {
    Player.reset();
    WriteWhole(Profile.File("Positions.json"), R"({"begun": [], "speeds": {"Logic": 1.5, "Other": 2}})");
    Open();
    const QString file = Tone("a.wav", 30);
    Register({{"Logic", file}});
    ASSERT_TRUE(Plays(file));
    ASSERT_TRUE(WaitUntil([&] { return Player->Speed() == 1.5; }));
    EXPECT_EQ(Player->Nodes().Get(Logic).Speed, 1.5);
    EXPECT_EQ(Player->SavedPositions().Speed("Logic"), 1);
    EXPECT_EQ(Player->SavedPositions().Speed("Other"), 2);
    Player->SetSpeed(1);
    Player->Nodes().Set(Logic, {1.2, 0, 0, 1});
    EXPECT_EQ(Player->Speed(), 1.2) << "a change takes effect on what plays";
    Open();
    EXPECT_EQ(Player->Nodes().Get(Logic).Speed, 1.2) << "kept for the next start";
}

TEST_F(NodeOptions, SettingsFollowANodeWhosePairChanges) {
    Register({});
    Player->Nodes().Set({Logic.StorageID, Logic.Field, "Reason"}, {2, 0, 0, 1});
    Storage->Manager->Changed();
    EXPECT_TRUE(WaitUntil([&] { return Player->Nodes().Get(Logic).Speed == 2; }));
    Storage->Name = "Proof";
    Storage->FormerName = "Logic";
    Open();  // the node has moved while the program did not run
    Storage->Manager->Changed();
    EXPECT_TRUE(WaitUntil([&] { return Player->Nodes().Get({Logic.StorageID, "Series", "Proof"}).Speed == 2; }));
    EXPECT_EQ(Player->Nodes().Get(Logic), ListeningSettings());
}

TEST_F(NodeOptions, FilesThatPlayFollowOrWereBegunAreInUse) {
    const QString begun = Tone("begun.wav", 30), plays = Tone("plays.wav", 30);
    const auto used = [&] {
        const Ref<IVEXAObjectList> names(new ObjectList);
        return Host.Messages().Send(kMsgGetFilesInUse, 0, names.Get()) == S_OK ? ToQStringList(names.Get()).join('|')
                                                                               : u"unknown"_s;
    };
    EXPECT_EQ(used(), "");
    ASSERT_TRUE(Plays(begun) && SeeksTo(3));
    ASSERT_TRUE(Plays(plays));
    Player->PlayLast({"next"});
    EXPECT_EQ(used(), QStringList({"next", plays, plays, begun}).join('|'));
    Player.reset();
    EXPECT_EQ(used(), "unknown");
}

TEST_F(NodeOptions, TheDialogShowsWhatTheStorageOffersAndStoresWhatWasChanged) {
    Register({});
    EXPECT_FALSE(NodeOptionsDialog::Has(Host.Library(), {Logic.StorageID, "Series", "Other"}));
    ASSERT_TRUE(NodeOptionsDialog::Has(Host.Library(), Logic));
    NodeOptionsDialog dialog(Host.Library(), Player->Nodes(), Host.Language(), Logic, "Logic", nullptr);
    const auto choices = dialog.findChildren<QComboBox*>();
    const auto numbers = dialog.findChildren<QSpinBox*>();
    ASSERT_EQ(choices.size(), 1);
    ASSERT_EQ(numbers.size(), 4);
    EXPECT_EQ(choices[0]->itemText(0), "as usual (B)");
    EXPECT_EQ(choices[0]->currentText(), "B");
    for (const auto* number : numbers) EXPECT_NE(number->accessibleName(), "");
    choices[0]->setCurrentIndex(1);
    numbers[1]->setValue(30);
    numbers[3]->setValue(150);
    dialog.findChild<QDoubleSpinBox*>()->setValue(1.3);
    Storage->FormerName = "Logic";
    Storage->Name = "Proof";  // moved while the dialog is open
    dialog.accept();
    EXPECT_EQ(Storage->Set, QStringList("Series Proof choice=1")) << "only what was changed";
    EXPECT_EQ(Player->Nodes().Get({Logic.StorageID, "Series", "Proof"}), (ListeningSettings{1.3, 30, 0, 1.5}));
}

}  // namespace
