#pragma once

#include <QTableWidgetItem>

namespace Zyn {
namespace AppCreate {

// A catalogue cell that sorts recently used and built-in systems ahead of
// the rest of the catalogue.
class TableWidgetItem : public QTableWidgetItem {
public:
    // Distinguishes our items from plain ones in operator<.
    static constexpr int ItemType = QTableWidgetItem::UserType + 1;

    TableWidgetItem();
    explicit TableWidgetItem(const QString& text, bool isBuiltIn = false, int recentRank = 0, int builtInOrder = 0);

    QTableWidgetItem* clone() const override;
    bool operator<(const QTableWidgetItem& other) const override;

    int recentRank() const { return m_recentRank; }
    void setRecentRank(int rank) { m_recentRank = rank; }
    bool isBuiltIn() const { return m_isBuiltIn; }
    void setBuiltIn(bool builtIn) { m_isBuiltIn = builtIn; }
    int builtInOrder() const { return m_builtInOrder; }
    void setBuiltInOrder(int order) { m_builtInOrder = order; }

private:
    int m_recentRank = 0;
    bool m_isBuiltIn = false;
    int m_builtInOrder = 0;
};

} // namespace AppCreate
} // namespace Zyn
