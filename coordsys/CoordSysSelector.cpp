#include "CoordSysSelector.h"

#include "CoordSysDialog.h"
#include "ui_CoordSysSelector.h"

#include <QEvent>
#include <QGraphicsDropShadowEffect>
#include <QGuiApplication>
#include <QScreen>

namespace Zyn {
namespace AppCreate {

namespace {
const int ScreenMargin = 70;
const int MinimumDialogWidth = 550;
const int DialogHeight = 600;
} // namespace

CoordSysSelector::CoordSysSelector(QWidget* parent) : QWidget(parent), ui(new Ui::CoordSysSelector)
{
    ui->setupUi(this);
    m_dialog = new CoordSysDialog(this);
    m_dialog->setInput(m_input);
    m_dialog->installEventFilter(this);
    ui->txtbox_coordsys->installEventFilter(this);
    connect(m_dialog.data(), &CoordSysDialog::loadFinished, this, &CoordSysSelector::onDialogLoadFinished);

    ui->label_tar_coord_sys->hide();

    auto* shadow = new QGraphicsDropShadowEffect(ui->button_browse);
    shadow->setEnabled(true);
    shadow->setBlurRadius(7);
    shadow->setOffset(0);
    ui->button_browse->setGraphicsEffect(shadow);

    reset();
}

CoordSysSelector::~CoordSysSelector()
{
    delete ui;
}

void CoordSysSelector::setInput(bool input)
{
    m_input = input;
    if (m_dialog)
        m_dialog->setInput(input);
    ui->label_src_coord_sys->setVisible(input);
    ui->label_tar_coord_sys->setVisible(!input);
    update();
}

void CoordSysSelector::loadCoordSystems()
{
    if (m_dialog)
        m_dialog->loadCoordSystems();
}

void CoordSysSelector::setDefaultGpsCoordSys(QString code)
{
    if (code.isEmpty() || !m_dialog)
        return;
    GcpCoordSysInfo info;
    if (m_dialog->getCoordSysFromId(code, info)) {
        m_defaultGpsCoordSys = info;
        m_pendingDefaultCode.clear();
        if (!m_explicitChoice)
            reset();
    } else if (m_dialog->isLoading()) {
        // Looked up again once the catalogue is in.
        m_pendingDefaultCode = code;
    }
}

void CoordSysSelector::onDialogLoadFinished()
{
    if (m_pendingDefaultCode.isEmpty())
        return;
    const QString code = m_pendingDefaultCode;
    m_pendingDefaultCode.clear();
    setDefaultGpsCoordSys(code);
}

void CoordSysSelector::setCoordSysData(const GcpCoordSysInfo& info)
{
    if (!m_dialog)
        return;
    m_dialog->setSelectedData(info);
    ui->txtbox_coordsys->setText(info.code);
    ui->txtbox_coordsys->setToolTip(info.description);
    m_explicitChoice = true;
    emit coordSysSelectionChanged(m_dialog->getSelectedData());
}

GcpCoordSysInfo CoordSysSelector::getCoordSysData() const
{
    return m_dialog ? m_dialog->getSelectedData() : GcpCoordSysInfo();
}

QString CoordSysSelector::getCoordSysId() const
{
    return ui->txtbox_coordsys->text();
}

bool CoordSysSelector::isCSIdValid() const
{
    return m_dialog && m_dialog->isIdValid(ui->txtbox_coordsys->text());
}

void CoordSysSelector::reset()
{
    if (!m_dialog)
        return;
    GcpCoordSysInfo info;
    if (!m_dialog->getIsUserSelected() && !m_defaultGpsCoordSys.code.isEmpty())
        info = m_defaultGpsCoordSys;
    else
        info = CoordSysDialog::loadGcpCoordSysInfo(m_input);
    ui->txtbox_coordsys->setText(info.code);
    ui->txtbox_coordsys->setToolTip(info.description);
    m_dialog->setSelectedData(info);
}

void CoordSysSelector::on_button_browse_clicked()
{
    // A click inside the open catalogue reaches the filter too; the
    // catalogue is already up then.
    if (!ui->txtbox_coordsys->isEnabled() || !m_dialog || m_browsing || m_dialog->isVisible())
        return;
    m_browsing = true;
    m_dialog->resize(qMax(width(), MinimumDialogWidth), DialogHeight);
    const int result = m_dialog->exec();
    m_browsing = false;
    if (!m_dialog || result != QDialog::Accepted)
        return;
    const QString code = m_dialog->getSelectedCode();
    if (code.isEmpty())
        return;
    const QString oldText = ui->txtbox_coordsys->text();
    ui->txtbox_coordsys->setText(code);
    ui->txtbox_coordsys->setToolTip(code);
    m_explicitChoice = true;
    if (oldText != code)
        emit coordSysSelectionChanged(m_dialog->getSelectedData());
}

bool CoordSysSelector::eventFilter(QObject* watched, QEvent* event)
{
    const bool isDialog = m_dialog && watched == m_dialog.data();
    if (event->type() == QEvent::MouseButtonRelease && (isDialog || watched == ui->txtbox_coordsys))
        on_button_browse_clicked();
    else if (isDialog && (event->type() == QEvent::Resize || event->type() == QEvent::Show))
        validateDialogPos();
    return QWidget::eventFilter(watched, event);
}

QRect CoordSysSelector::placeDialog(const QRect& dialogGeometry, const QPoint& selectorCentre, const QRect& screen)
{
    QRect rect = dialogGeometry;
    rect.moveCenter(selectorCentre);
    // Left and top are checked against 0, not the screen's own origin.
    if (rect.left() < 0)
        rect.moveLeft(ScreenMargin);
    else if (rect.right() > screen.right())
        rect.moveRight(screen.right() - ScreenMargin);
    if (rect.top() < 0)
        rect.moveTop(ScreenMargin);
    else if (rect.bottom() > screen.bottom() - ScreenMargin)
        rect.moveBottom(screen.bottom() - ScreenMargin);
    return rect;
}

void CoordSysSelector::validateDialogPos()
{
    if (!m_dialog)
        return;
    const QPoint centre = mapToGlobal(rect().center());
    QScreen* screen = QGuiApplication::screenAt(centre);
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (!screen)
        return;
    const QRect placed = placeDialog(m_dialog->frameGeometry(), centre, screen->geometry());
    m_dialog->move(placed.topLeft());
}

void CoordSysSelector::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    // Until a choice was made the field follows the saved system and the
    // photos' default, which may have changed while it was hidden.
    if (!m_explicitChoice)
        reset();
}

void CoordSysSelector::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
}

} // namespace AppCreate
} // namespace Zyn
