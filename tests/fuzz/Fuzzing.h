#pragma once
// What the fuzzing programs share: how an input is cut, and how a broken promise stops the program.
//
// An input that holds several texts has the byte 0xFF between them, which no UTF-8 text holds.

#include <QByteArray>
#include <QList>
#include <QString>

#include <cstdint>

namespace fuzzing {

/// The texts of an input, at least `count` of them: those that are missing are empty.
QList<QByteArray> Parts(const std::uint8_t* data, std::size_t size, qsizetype count);

/// Tells what does not hold and stops the program, whereupon the fuzzer keeps the input.
void Require(bool holds, const char* promise, const QString& what = {});

}  // namespace fuzzing
