#include "VEXA.Runtime.FileReason.h"

#include <QCoreApplication>
#include <QFileDevice>

#include <cerrno>

namespace vexa {

Reason FileReason(const QFileDevice& file) {
    constexpr int kLastError = EHWPOISON;
    // The toolkit keeps no error number, only its words, which it may have translated.
    const QString words = file.errorString();
    for (int error = 1; error <= kLastError; ++error) {
        const Reason known = SystemReason(error);
        const QString english = known.English();
        if (words == english || words == qt_error_string(error) ||
            words == QCoreApplication::translate("QIODevice", qUtf8Printable(english)))
            return known;
    }
    return words;
}

}  // namespace vexa
