#pragma once
// What addresses are called now, by what they were called before, and how lists of them follow.

#include <QHash>
#include <QString>

namespace vexa::host {

/// The present addresses, by those before. Addresses that did not move are not in it.
using AddressMoves = QHash<QString, QString>;

/// Follows moves through one list. What stood in it under several addresses may have become one: then the first stays.
/// An address that was there twice before stays so.
///
///     AddressMover mover(moves);
///     for (Entry& entry : list)
///         if (mover.Move(entry.Address)) left.push_back(std::move(entry));
class AddressMover {
public:
    explicit AddressMover(const AddressMoves& moves) : FMoves(moves) {
        FBefore.reserve(moves.size());
        for (const QString& present : moves) FBefore.insert(present, QString());
    }

    /// Puts the present address in. False when the entry is to go.
    [[nodiscard]] bool Move(QString& address) {
        const QString before = address;
        if (const auto moved = FMoves.constFind(address); moved != FMoves.constEnd()) address = *moved;
        const auto first = FBefore.find(address);
        if (first == FBefore.end()) return true;  // nothing moves there
        if (first->isNull()) *first = before;
        return *first == before;
    }

private:
    const AddressMoves& FMoves;
    QHash<QString, QString> FBefore;  // of each address that something moves to, what came first under it was called
};

}  // namespace vexa::host
