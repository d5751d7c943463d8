#pragma once

#include <QFrame>
#include <QPointer>

class QDoubleSpinBox;
class QLabel;
class QPushButton;

namespace Zyn {
namespace AppGcp {

class MarkSuggester;

// The marking help's controls: how many suggestions wait for the point,
// the search's progress with a way to stop it, "Accept all above" a score
// with its count, and "Detect targets" for coded targets.
class AssistBar : public QFrame {
    Q_OBJECT
public:
    explicit AssistBar(QWidget* parent = nullptr);

    void setSuggester(MarkSuggester* suggester);
    void setPoint(const QString& name);
    // Without the detect button, and out of sight while nothing waits.
    void setCompact(bool compact);
    double threshold() const;
    void setThreshold(double score);
    QPushButton* acceptAllButton() const { return m_acceptAll; }
    QPushButton* detectButton() const { return m_detect; }
    QLabel* statusLabel() const { return m_status; }

signals:
    void acceptAllRequested(double score);
    void detectRequested();

private:
    void update();

    QPointer<MarkSuggester> m_suggester;
    QString m_point;
    QLabel* m_status = nullptr;
    QDoubleSpinBox* m_score = nullptr;
    QPushButton* m_acceptAll = nullptr;
    QPushButton* m_detect = nullptr;
    QPushButton* m_cancel = nullptr;
    bool m_compact = false;
    int m_done = 0;
    int m_total = 0;
};

} // namespace AppGcp
} // namespace Zyn
