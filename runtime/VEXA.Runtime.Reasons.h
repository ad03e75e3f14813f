#pragma once
// The texts of the runtime's reasons (see VEXA.Runtime.Reason.h). Each of them is in every language file, under the
// same key and with the same places; in English.lng with the same words.

#include "VEXA.Runtime.Reason.h"

namespace vexa {

inline constexpr ReasonText kRuntimeReasons[] = {
    // Transfers
    {"Reasons\\Cancelled", "cancelled"},
    {"Reasons\\Internal", "an internal error"},
    {"Reasons\\NoAddress", "this is not an http or https address"},
    {"Reasons\\TooLarge", "the document is larger than %1 MiB"},
    {"Reasons\\NotTaken", "the data could not be taken"},
    {"Reasons\\NoSuchHost", "the server's name could not be resolved"},
    {"Reasons\\NoSuchProxy", "the proxy's name could not be resolved"},
    {"Reasons\\NotReached", "the server could not be reached (connection refused or no route)"},
    {"Reasons\\TimedOut", "the server did not answer in time"},
    {"Reasons\\NotTrusted", "the server's certificate is not trusted: %1"},
    {"Reasons\\CertificateExpired", "it has expired"},
    {"Reasons\\CertificateOfItself", "it is signed by nobody but itself"},
    {"Reasons\\CertificateOfUnknown", "its issuer is not known here"},
    {"Reasons\\CertificateOfAnother", "it belongs to another server"},
    {"Reasons\\NotSecured", "no secure connection to the server could be made: %1"},
    {"Reasons\\Redirects", "the server redirects more than %1 times"},
    {"Reasons\\NotHttp", "the server sent something that is not HTTP"},
    {"Reasons\\OtherScheme", "the address, or one that it redirects to, is not http or https"},
    {"Reasons\\BodyEnded", "the connection ended before the whole body arrived"},
    {"Reasons\\HeadersEnded", "the connection ended before all headers arrived"},
    {"Reasons\\BrokeOff", "the connection to the server broke off"},
    {"Reasons\\HeaderTooLong", "a header of the server's answer is too long"},
    {"Reasons\\NoAnswer", "the server closed the connection without an answer"},
    {"Reasons\\BodyDamaged", "the compressed body is damaged"},
    {"Reasons\\TransferFailed", "the transfer failed: %1"},
    {"Reasons\\Resting", "it was not asked for, since its server wants to be left alone until %1"},

    // Answers: %1 is a status and its meaning. The meanings are those of RFC 9110, section 15.
    {"Reasons\\Answered", "the server answered %1"},
    {"Reasons\\AnsweredWait", "the server answered %1; it asks to wait %2 seconds"},
    {"Reasons\\Status204", "204 No Content"},
    {"Reasons\\Status206", "206 Partial Content"},
    {"Reasons\\Status300", "300 Multiple Choices"},
    {"Reasons\\Status301", "301 Moved Permanently"},
    {"Reasons\\Status302", "302 Found"},
    {"Reasons\\Status303", "303 See Other"},
    {"Reasons\\Status304", "304 Not Modified"},
    {"Reasons\\Status307", "307 Temporary Redirect"},
    {"Reasons\\Status308", "308 Permanent Redirect"},
    {"Reasons\\Status400", "400 Bad Request"},
    {"Reasons\\Status401", "401 Unauthorized"},
    {"Reasons\\Status402", "402 Payment Required"},
    {"Reasons\\Status403", "403 Forbidden"},
    {"Reasons\\Status404", "404 Not Found"},
    {"Reasons\\Status405", "405 Method Not Allowed"},
    {"Reasons\\Status406", "406 Not Acceptable"},
    {"Reasons\\Status407", "407 Proxy Authentication Required"},
    {"Reasons\\Status408", "408 Request Timeout"},
    {"Reasons\\Status410", "410 Gone"},
    {"Reasons\\Status416", "416 Range Not Satisfiable"},
    {"Reasons\\Status421", "421 Misdirected Request"},
    {"Reasons\\Status429", "429 Too Many Requests"},
    {"Reasons\\Status451", "451 Unavailable For Legal Reasons"},
    {"Reasons\\Status500", "500 Internal Server Error"},
    {"Reasons\\Status501", "501 Not Implemented"},
    {"Reasons\\Status502", "502 Bad Gateway"},
    {"Reasons\\Status503", "503 Service Unavailable"},
    {"Reasons\\Status504", "504 Gateway Timeout"},

    // Documents
    {"Reasons\\NoText", "the document is empty"},
    {"Reasons\\TooManyElements", "the document has too many elements"},
    {"Reasons\\NotWellFormed", "not well-formed XML at line %1, column %2: %3"},
    {"Reasons\\XmlTag", "Could not determine tag type"},
    {"Reasons\\XmlInstruction", "Error parsing document declaration/processing instruction"},
    {"Reasons\\XmlComment", "Error parsing comment"},
    {"Reasons\\XmlCdata", "Error parsing CDATA section"},
    {"Reasons\\XmlDoctype", "Error parsing document type declaration"},
    {"Reasons\\XmlText", "Error parsing PCDATA section"},
    {"Reasons\\XmlStartTag", "Error parsing start element tag"},
    {"Reasons\\XmlAttribute", "Error parsing element attribute"},
    {"Reasons\\XmlEndTag", "Error parsing end element tag"},
    {"Reasons\\XmlMismatch", "Start-end tags mismatch"},
    {"Reasons\\XmlNoElement", "No document element found"},

    // Databases: %1 is the file and %2 what the database library says.
    {"Reasons\\DatabaseOpen", "cannot open the database %1: %2"},
    {"Reasons\\DatabasePrepare", "cannot prepare the database %1: %2"},
    {"Reasons\\DatabaseRead", "cannot read the database %1: %2"},
    {"Reasons\\DatabaseWrite", "cannot write the database %1: %2"},
    {"Reasons\\DatabaseUse", "cannot read or write the database %1: %2"},
    // What the database library says, in English with its own words
    {"Reasons\\DatabaseIsLocked", "database is locked"},
    {"Reasons\\DatabaseIsReadOnly", "attempt to write a readonly database"},
    {"Reasons\\DatabaseIsUnopened", "unable to open database file"},
    {"Reasons\\DatabaseIsFull", "database or disk is full"},
    {"Reasons\\DatabaseIsOnBadDisk", "disk I/O error"},
    {"Reasons\\DatabaseIsNone", "file is not a database"},
    {"Reasons\\DatabaseIsMalformed", "database disk image is malformed"},
    // What the user can do about one of the reasons above, which is %1.
    {"Reasons\\DatabaseBusy", "%1; another program is using it: try again in a moment"},
    {"Reasons\\DatabaseReadOnly", "%1; make the file and its folder writable"},
    {"Reasons\\DatabaseFolder", "%1; check that its folder exists and is writable"},
    {"Reasons\\DatabaseFull", "%1; free some disk space"},
    {"Reasons\\DatabaseDisk", "%1; check the disk and its free space"},
    {"Reasons\\DatabaseForeign", "%1; move the file away, or name another profile folder"},
    {"Reasons\\DatabaseDamaged", "%1; restore the file from a backup, or move it away"},

    // Settings: %1 is the file and %2 the cause.
    {"Reasons\\SettingsRead", "cannot read the settings %1: %2"},
    {"Reasons\\SettingsWrite", "cannot write the settings %1: %2"},
    {"Reasons\\SettingsBusy", "another program is writing them; try again in a moment"},

    // Profiles
    {"Reasons\\FileReplace", "cannot replace %1: %2"},
    {"Reasons\\ProfileBusy", "another program is replacing files in %1; try again in a moment"},

    // The operating system's errors, in English with the words of the C library
    {"Reasons\\NoFile", "No such file or directory"},
    {"Reasons\\NoPermission", "Permission denied"},
    {"Reasons\\DiskFull", "No space left on device"},
    {"Reasons\\QuotaExceeded", "Disk quota exceeded"},
    {"Reasons\\ReadOnlyDisk", "Read-only file system"},
    {"Reasons\\DiskFails", "Input/output error"},
    {"Reasons\\FileTooLarge", "File too large"},
    {"Reasons\\NameTooLong", "File name too long"},
    {"Reasons\\NoFolder", "Not a directory"},
    {"Reasons\\IsFolder", "Is a directory"},
};

consteval const ReasonText& RuntimeReason(std::string_view name) {
    return FindReason(kRuntimeReasons, name);
}

}  // namespace vexa
