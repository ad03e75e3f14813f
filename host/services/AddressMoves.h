#pragma once
// A map from previous addresses to present ones, and how lists of addresses are brought up to date with it.

#include <QHash>
#include <QString>

namespace vexa::host {

/// Present addresses by previous address. Addresses that did not move are not in the map.
using AddressMoves = QHash<QString, QString>;

/// Applies moves to one list. Several addresses of the list may have become one: then only the entries of the first of
/// them stay. An address that the list contained twice before is still there twice.
///
///     AddressMover mover(moves);
///     for (Entry& entry : list)
///         if (mover.Move(entry.Address)) kept.push_back(std::move(entry));
class AddressMover {
public:
    explicit AddressMover(const AddressMoves& moves) : FMoves(moves) {
        FBefore.reserve(moves.size());
        for (const QString& present : moves) FBefore.insert(present, QString());
    }

    /// Replaces `address` by its present address. False when the entry is to be removed.
    [[nodiscard]] bool Move(QString& address) {
        const QString before = address;
        if (const auto moved = FMoves.constFind(address); moved != FMoves.constEnd()) address = *moved;
        const auto first = FBefore.find(address);
        if (first == FBefore.end()) return true;  // no address moves to this one
        if (first->isNull()) *first = before;
        return *first == before;
    }

private:
    const AddressMoves& FMoves;
    QHash<QString, QString> FBefore;  // by present address: the previous address of the first entry that got it
};

}  // namespace vexa::host
