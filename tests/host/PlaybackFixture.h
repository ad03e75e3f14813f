#pragma once
// Playback over a host with a profile of its own.

#include "HostFixture.h"
#include "Playback.h"
#include "Tone.h"

#include <optional>

class PlaybackTest : public HostTest {
protected:
    using State = host::Playback::State;

    void SetUp() override {
        Host.Messages().Handle(kMsgPlaybackStarted, [this](std::int32_t, void*) { return ++Started, S_OK; });
        Open();
    }
    /// Makes a new Playback, as a new start of the program does.
    void Open(const QString& sink = u"fakesink sync=true"_s) {
        Player.reset();
        Player.emplace(Host, sink);
        QObject::connect(&*Player, &host::Playback::Failed, [this](const QString& text) { Errors += text; });
        QObject::connect(&*Player, &host::Playback::Warned, [this](const QString& text) { Warnings += text; });
        QObject::connect(&*Player, &host::Playback::Skipped,
                         [this](const QString& name, const QString& why) { Skipped += name + u": " + why; });
        QObject::connect(&*Player, &host::Playback::Finished, [this](const QString& one) { Heard += one; });
    }
    QString Tone(const QString& name, double seconds) {
        const QString file = Profile.File(name);
        WriteWhole(file, MakeTone(seconds));
        return file;
    }
    bool WaitFor(State state) {
        return tests::WaitUntil([&] { return Player->CurrentState() == state; }, std::chrono::seconds(20));
    }

    bool Plays(const QString& address) {
        Player->Play(address);
        return WaitFor(State::Playing);
    }
    bool SeeksTo(double position) {
        Player->Seek(position);
        return tests::WaitUntil([&] { return Player->Position() >= position; });
    }

    /// The addresses of the files that were begun, the one heard last first.
    QStringList Begun() const {
        QStringList addresses;
        for (const host::HeardFile& file : Player->SavedPositions().Begun()) addresses += file.Address;
        return addresses;
    }

    std::optional<host::Playback> Player;
    QStringList Errors, Warnings, Heard, Skipped;
    int Started = 0;  // number of messages that a file plays
};
