#pragma once
// A PNG picture of one colour.

#include <QBuffer>
#include <QImage>

namespace tests {

inline QByteArray Png(int width, int height, Qt::GlobalColor colour = Qt::red,
                      QImage::Format format = QImage::Format_RGB32) {
    QImage image(width, height, format);
    image.fill(colour);
    QBuffer bytes;
    image.save(&bytes, "PNG");
    return bytes.data();
}

}  // namespace tests
