#pragma once
// Recognises documents that were expected to be feeds but are something else. The only place that knows other formats.

#include "VEXA.Runtime.Reason.h"
#include "VEXA.Runtime.XML.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace podcasts {

/// Why a document is not a feed that can be read here ("the document is an Atom feed; …"), according to its root
/// element.
vexa::Reason DescribeForeignDocument(const vexa::XmlDocument& document);

/// The same for a document that could not be parsed, or only by recovery, according to its first bytes; no reason
/// when these are not conclusive, and for an HTML page.
vexa::Reason DescribeForeignDocument(QByteArrayView bytes);

/// Whether `bytes` are an HTML page, by their beginning or by the response's type (lower case, may be empty). A feed
/// after error messages of the server's scripts is not a page.
bool IsHtmlPage(const QByteArray& bytes, const QString& mimeType);
/// Whether a well-formed document is an HTML page, by its root element.
bool IsHtmlPage(const vexa::XmlDocument& document);
vexa::Reason DescribeHtmlPage();

}  // namespace podcasts
