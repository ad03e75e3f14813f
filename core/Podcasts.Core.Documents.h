#pragma once
// What a document is that was expected to be a feed: the one place that knows what else people have at an address.

#include "VEXA.Runtime.XML.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace podcasts {

/// Why a document is no feed that can be read here: "the document is an Atom feed; …", by its root element.
QString DescribeForeignDocument(const vexa::XmlDocument& document);

/// The same of bytes that are no tree of elements, or one that had to be mended, by how they begin; empty when that
/// tells nothing, and for a page.
QString DescribeForeignDocument(QByteArrayView bytes);

/// Whether bytes are an HTML page, by how they begin or by the response's type (lower case, may be empty). A feed that
/// the messages of a server's scripts stand in front of is none.
bool IsHtmlPage(const QByteArray& bytes, const QString& mimeType);
/// The same of one that is well-formed, by its root element.
bool IsHtmlPage(const vexa::XmlDocument& document);
QString DescribeHtmlPage();

}  // namespace podcasts
