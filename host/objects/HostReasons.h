#pragma once
// The texts of the host's reasons (see VEXA.Runtime.Reason.h). Each of them is in every language file, under the same
// key and with the same places; in English.lng with the same words. LanguageService gives a reason's text.

#include "VEXA.Runtime.Reason.h"

namespace vexa::host {

inline constexpr ReasonText kHostReasons[] = {
    // Playback
    {"Player.Reasons\\NoSuchFile", "there is no file %1"},
    {"Player.Reasons\\NoSource", "neither a file nor a web address: %1"},
    {"Player.Reasons\\NotPlayable", "cannot play %1"},
    {"Player.Reasons\\NoDecoder", "nothing here can open the file"},
    {"Player.Reasons\\NoStart", "GStreamer cannot start"},
    {"Player.Reasons\\NoElement", "GStreamer lacks its element %1"},

    // What is to be opened
    {"Player.Reasons\\NoServer", "%1 is no address: it names no server"},
    {"Player.Reasons\\NoFeedFile", "%1 is no file: name a feed or a list of subscriptions (OPML)"},
    {"Player.Reasons\\NotReadable", "the file %1 cannot be read"},
    {"Player.Reasons\\OtherAddress", "%1 cannot be opened: take %2 and file addresses, and names of files"},

    // The library
    {"Player.Reasons\\RowsNotRead", "the storage could not read its rows (%1)"},
    {"Player.Reasons\\NoConditions", "the storage cannot say which rows belong to the selected node"},

    // What is kept in the profile: %1 is one of the three below, %2 the file and %3 the cause.
    {"Player.Reasons\\NotKept", "%1 could not be written to %2: %3"},
    {"Player.Reasons\\KeptPositions", "where files were left"},
    {"Player.Reasons\\KeptNodes", "how files are played"},
    {"Player.Reasons\\KeptPlaylists", "the playlists"},
    {"Player.Reasons\\KeptMoves", "the counts of moved addresses"},
    {"Player.Reasons\\NoProfile", "cannot make the profile folder %1: choose another"},
    {"Player.Reasons\\NoFiles", "no files can be written in %1: %2"},
    {"Player.Reasons\\Both", "%1; %2"},

    // Plug-ins: %1 is the file.
    {"Player.Reasons\\NoPlugin", "there is no file %1: name the file of a plug-in"},
    {"Player.Reasons\\PluginNotLoaded", "%1 is not a plug-in that can be loaded: %2"},
    {"Player.Reasons\\PluginWithoutEntry", "%1 is not a plug-in: it is a library without %2"},
    {"Player.Reasons\\PluginWithoutObject", "the plug-in %1 gave no object (%2)"},
    {"Player.Reasons\\PluginForOther",
     "the plug-in %1 was built with another version of the interfaces: get the one for this player"},
    {"Player.Reasons\\PluginRefused", "the plug-in %1 refused to start (%2)"},
    {"Player.Reasons\\PluginRefusedWhy", "the plug-in %1 refused to start (%2): %3"},
    {"Player.Reasons\\ServiceMissing", "the host lacks a service that it needs"},
};

consteval const ReasonText& HostReason(std::string_view name) {
    return FindReason(kHostReasons, name);
}

}  // namespace vexa::host
