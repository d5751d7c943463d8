#include "TableWidgetItem.h"

#include <utilities/Utilities.h>

namespace Zyn {
namespace AppCreate {

TableWidgetItem::TableWidgetItem() : QTableWidgetItem(ItemType) {}

TableWidgetItem::TableWidgetItem(const QString& text, bool isBuiltIn, int recentRank, int builtInOrder)
    : QTableWidgetItem(text, ItemType), m_recentRank(recentRank), m_isBuiltIn(isBuiltIn),
      m_builtInOrder(builtInOrder)
{
    setToolTip(text);
}

QTableWidgetItem* TableWidgetItem::clone() const
{
    return new TableWidgetItem(*this);
}

bool TableWidgetItem::operator<(const QTableWidgetItem& other) const
{
    // The model compares through this operator only; text() is read once
    // per side because it goes through the item's data lookup.
    if (other.type() != ItemType) {
        if (m_isBuiltIn)
            return true;
        return text() < other.text();
    }
    const auto& rhs = static_cast<const TableWidgetItem&>(other);
    if (m_recentRank != rhs.m_recentRank)
        return m_recentRank > rhs.m_recentRank;
    if (m_isBuiltIn != rhs.m_isBuiltIn)
        return m_isBuiltIn;
    if (m_isBuiltIn && m_builtInOrder != rhs.m_builtInOrder)
        return m_builtInOrder < rhs.m_builtInOrder;
    // Numbers as numbers (EPSG:2001 before EPSG:20001); empty cells (a system
    // without an EPSG number) after the others.
    const QString a = text();
    const QString b = other.text();
    if (a.isEmpty() != b.isEmpty())
        return b.isEmpty();
    const int order = Utilities::naturalCompare(a, b);
    return order != 0 ? order < 0 : a < b;
}

} // namespace AppCreate
} // namespace Zyn
