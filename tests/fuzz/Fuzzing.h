#pragma once
// Common parts of the fuzzing programs: splitting an input into parts, and stopping the program when a promise is
// broken.
//
// An input of several texts has the byte 0xFF between them, which does not occur in UTF-8.

#include <QByteArray>
#include <QList>
#include <QString>

#include <cstdint>

namespace fuzzing {

/// The texts of an input, at least `count` of them; missing ones are empty.
QList<QByteArray> Parts(const std::uint8_t* data, std::size_t size, qsizetype count);

/// Unless `holds`, prints the promise and stops the program; the fuzzer then keeps the input.
void Require(bool holds, const char* promise, const QString& what = {});

}  // namespace fuzzing
