#include "VEXA.Runtime.Html.h"

#include <QStringList>

#include <gtest/gtest.h>

namespace vexa {
namespace {

QString Links(const QByteArray& page, const QString& charset = {}) {
    QStringList links;
    for (const auto& [address, title] :
         FindHtmlLinks(page, charset, "https://h/dir/page?q", "alternate", "application/rss+xml"))
        links += title.isEmpty() ? address : address + " " + title;
    return links.join('|');
}

const QByteArray kLink = "<link rel=alternate type=application/rss+xml href=";

TEST(Html, LinksAreFoundHoweverAPageIsWritten) {
    const std::pair<QByteArray, const char*> cases[] = {
        {kLink + "/f>", "https://h/f"},
        {"<meta charset=utf-8><title>x</title>" + kLink + "f.xml>hello", "https://h/dir/f.xml"},
        {"<!DOCTYPE html><HTML><HEAD><LINK TITLE=' A\n &amp; B ' HREF='//o/f?a=1&amp;b=2' TYPE='Application/RSS+XML' "
         "REL='Feed Alternate'></HEAD>",
         "https://o/f?a=1&b=2 A & B"},
        {"<?xml version='1.0'?><html xmlns='http://www.w3.org/1999/xhtml'><head>"
         "<link rel='alternate' type='application/rss+xml; charset=utf-8' href='f'/></head><body/></html>",
         "https://h/dir/f"},
        {"<head>" + kLink + "a>" + kLink + "b>" + kLink + "a></head><body>" + kLink + "c>",
         "https://h/dir/a|https://h/dir/b|https://h/dir/c"},
        {"<head>" + kLink + "f><base href='/other/'><base href='/third/'>", "https://h/other/f"},
        {"<base href='http://elsewhere/x/'>" + kLink + "f>", "http://elsewhere/x/f"},
        {"<link rel=alternate type=application/atom+xml href=a><link rel=stylesheet type=application/rss+xml href=b>"
         "<link rel=alternates type=application/rss+xml href=c><a rel=alternate type=application/rss+xml href=d>",
         ""},
        {kLink + "javascript:x>" + kLink + "ftp://h/f>" + kLink + "''>" + kLink + "file:///etc/passwd>", ""},
        {"<!-- " + kLink + "no> --><script>'" + kLink + "no>'</script>" + kLink + "yes>", "https://h/dir/yes"},
        {QByteArray("\0<p>", 4) + kLink + "f title='\xD0\x96'>", "https://h/dir/f Ж"},
        {"<meta http-equiv=Content-Type content='text/html; charset=windows-1251'>" + kLink + "f title='\xC6'>",
         "https://h/dir/f Ж"},
        {"", ""},
    };
    for (const auto& [page, links] : cases) EXPECT_EQ(Links(page), QString::fromUtf8(links)) << page.toStdString();
    EXPECT_EQ(Links("<meta charset=utf-8>" + kLink + "f title='\xC6'>", "windows-1251"),
              QString::fromUtf8("https://h/dir/f Ж"))
        << "the transport's charset takes precedence";
    EXPECT_EQ(FindHtmlLinks(kLink + "f>" + kLink + "http://o/f>", {}, "/a/page.xml", "alternate", "application/rss+xml")
                  .size(),
              1u)
        << "relative addresses are not resolved against a file name";
}

TEST(Html, AHostilePageIsReadWithinBounds) {
    QByteArray many = "<head>";
    for (int i = 0; i < 5000; ++i) many += kLink + QByteArray::number(i) + ">";
    EXPECT_EQ(Links(many).count('|'), 99);
    EXPECT_LE(Links(kLink + "f title='" + QByteArray(100'000, 'x') + "'>").size(), 400);
    EXPECT_EQ(Links(kLink + QByteArray(100'000, 'x') + ">"), "");
    EXPECT_EQ(Links(kLink + "f>" + QByteArray(5'000'000, 'x') + kLink + "g>"), "https://h/dir/f");
    // Elements that are never closed, and end tags without an element, each of which would be searched for among all
    // open elements. Many attributes, each of which is compared with all before it.
    QByteArray attributes;
    for (int i = 0; i < 150'000; ++i) attributes += " a" + QByteArray::number(i, 36);
    const QByteArray pages[] = {
        kLink + "f>" + QByteArray("<b>").repeated(300'000),
        kLink + "f>" + QByteArray("<i><b>").repeated(80'000) + QByteArray("</u>").repeated(130'000),
        kLink + "f>" + QByteArray("<table><tr><td>").repeated(60'000),
        kLink + "f>" + QByteArray("<a x").repeated(200'000),
        kLink + "f>" + QByteArray("<!--").repeated(200'000),
        kLink + "f>" + QByteArray("&#x110000;&am").repeated(60'000),
        kLink + "f>" + "<p " + QByteArray("a='b' ").repeated(150'000) + ">",
        kLink + "f>" + "<p" + attributes + ">" + kLink + "g>",
    };
    EXPECT_EQ(Links("<script>" + QByteArray(300'000, 'x') + "</script><style>" + QByteArray("a{}\n").repeated(80'000) +
                    "</style>" + kLink + "f>"),
              "https://h/dir/f")
        << "long texts must not end the search";
    for (const QByteArray& page : pages) EXPECT_EQ(Links(page), "https://h/dir/f") << page.mid(60, 40).toStdString();
}

TEST(Html, APageIsRecognisedByItsFirstTagOrItsType) {
    const std::tuple<QByteArray, const char*, bool> cases[] = {
        {"\xEF\xBB\xBF \n<!-- <rss> --><HTML>", "", true},
        {"<?xml version='1.0'?>\n<!DOCTYPE html PUBLIC ''>", "", true},
        {"<center>404</center>", "text/html", true},
        {"<center>404</center>", "", false},
        {"<rss version='2.0'><html>", "text/html", false},
        {"<?xml version='1.0'?><feed>", "text/html", false},
        {"<!DOCTYPE rss [<!ENTITY html ''>]><rss>", "text/html", false},
        {"<htmlish>", "", false},
        {"<html", "", false},
        {"<?xml <html>", "", false},
        {"plain <html>", "", false},
        {"", "text/html", false},
        {QByteArray("<\0h\0t\0m\0l\0>\0", 12), "", true},
    };
    for (const auto& [bytes, type, isPage] : cases) EXPECT_EQ(IsHtmlPage(bytes, type), isPage) << bytes.toStdString();
}

}  // namespace
}  // namespace vexa
