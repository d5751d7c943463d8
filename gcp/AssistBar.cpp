#include "AssistBar.h"

#include <gcp/model/MarkSuggester.h>

#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSettings>

namespace Zyn {
namespace AppGcp {

namespace {
const char kThresholdKey[] = "GcpEditor/AcceptAllScore";
}

AssistBar::AssistBar(QWidget* parent)
    : QFrame(parent)
    , m_status(new QLabel(this))
    , m_score(new QDoubleSpinBox(this))
    , m_acceptAll(new QPushButton(this))
    , m_detect(new QPushButton(tr("Detect targets"), this))
    , m_cancel(new QPushButton(tr("Stop"), this))
{
    setObjectName(QStringLiteral("frame_assist"));
    m_status->setObjectName(QStringLiteral("label_assist_status"));
    m_acceptAll->setObjectName(QStringLiteral("button_accept_all"));
    m_detect->setObjectName(QStringLiteral("button_detect_targets"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 2, 6, 2);
    layout->addWidget(m_status, 1);
    layout->addWidget(m_cancel);
    layout->addWidget(m_acceptAll);
    layout->addWidget(m_score);
    layout->addWidget(m_detect);
    m_score->setRange(0.5, 1.0);
    m_score->setSingleStep(0.05);
    m_score->setDecimals(2);
    m_score->setToolTip(tr("Lowest match score that \"Accept all\" takes"));
    m_detect->setToolTip(tr("Find printed coded targets on every photo and suggest markers for the points named "
                            "after their numbers"));
    bool ok = false;
    const double stored = QSettings().value(QLatin1String(kThresholdKey)).toDouble(&ok);
    m_score->setValue(ok && stored >= 0.5 && stored <= 1.0 ? stored : 0.85);
    connect(m_score, qOverload<double>(&QDoubleSpinBox::valueChanged), this, [this](double v) {
        QSettings().setValue(QLatin1String(kThresholdKey), v);
        update();
    });
    m_status->setMinimumWidth(0);
    m_status->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    connect(m_acceptAll, &QPushButton::clicked, this, [this] { emit acceptAllRequested(m_score->value()); });
    connect(m_detect, &QPushButton::clicked, this, &AssistBar::detectRequested);
    connect(m_cancel, &QPushButton::clicked, this, [this] {
        if (m_suggester)
            m_suggester->cancel();
    });
    update();
}

void AssistBar::setSuggester(MarkSuggester* suggester)
{
    if (m_suggester)
        disconnect(m_suggester, nullptr, this, nullptr);
    m_suggester = suggester;
    if (m_suggester) {
        connect(m_suggester, &MarkSuggester::suggestionsChanged, this, &AssistBar::update);
        connect(m_suggester, &MarkSuggester::progress, this, [this](int done, int total) {
            m_done = done;
            m_total = done >= total ? 0 : total;
            update();
        });
    }
    update();
}

void AssistBar::setPoint(const QString& name)
{
    m_point = name;
    update();
}

void AssistBar::setCompact(bool compact)
{
    m_compact = compact;
    // Beside the photo the keys' sentence may be cut; in the browser's
    // row the short count must stay whole.
    m_status->setSizePolicy(compact ? QSizePolicy::Ignored : QSizePolicy::Preferred, QSizePolicy::Preferred);
    update();
}

double AssistBar::threshold() const
{
    return m_score->value();
}

void AssistBar::setThreshold(double score)
{
    m_score->setValue(score);
}

void AssistBar::update()
{
    const int waiting = m_suggester && !m_point.isEmpty() ? m_suggester->suggestedPhotos(m_point).size() : 0;
    const int above = m_suggester && !m_point.isEmpty() ? m_suggester->countAbove(m_point, m_score->value()) : 0;
    const QString waits = waiting == 1 ? tr("1 suggestion waits") : tr("%1 suggestions wait").arg(waiting);
    QString text;
    if (m_total > 0) {
        text = tr("Searching the photos: %1 of %2").arg(m_done).arg(m_total);
        // The suggestions found so far stay usable while a search runs again.
        if (waiting > 0)
            text += QStringLiteral(" · ") + waits;
    } else if (waiting > 0 && m_compact) {
        text = tr("%1: Enter accepts, Delete rejects").arg(waits);
    } else if (waiting > 0) {
        text = waits;
    }
    m_status->setText(text);
    m_status->setToolTip(text);
    m_cancel->setVisible(m_total > 0);
    m_acceptAll->setText(tr("Accept %1 above").arg(above));
    m_acceptAll->setEnabled(above > 0);
    m_acceptAll->setVisible(waiting > 0);
    m_score->setVisible(waiting > 0);
    m_detect->setEnabled(m_suggester && m_total == 0);
    m_detect->setVisible(!m_compact);
    if (m_compact)
        setVisible(!text.isEmpty());
}

} // namespace AppGcp
} // namespace Zyn
