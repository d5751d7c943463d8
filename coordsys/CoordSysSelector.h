#pragma once

#include <QPointer>
#include <QRect>
#include <QWidget>

#include <coordsys/GcpCoordSysInfo.h>

namespace Ui {
class CoordSysSelector;
}

namespace Zyn {
namespace AppCreate {

class CoordSysDialog;

// A form field showing the chosen coordinate system, with a button that
// opens the catalogue next to it.
class CoordSysSelector : public QWidget {
    Q_OBJECT

public:
    explicit CoordSysSelector(QWidget* parent = nullptr);
    ~CoordSysSelector() override;

    void setInput(bool input);
    bool isInput() const { return m_input; }

    void loadCoordSystems();
    void setDefaultGpsCoordSys(QString code);
    GcpCoordSysInfo defaultGpsCoordSys() const { return m_defaultGpsCoordSys; }

    void setCoordSysData(const GcpCoordSysInfo& info);
    GcpCoordSysInfo getCoordSysData() const;
    QString getCoordSysId() const;
    bool isCSIdValid() const;

    CoordSysDialog* dialog() const { return m_dialog.data(); }

    // Where a dialog of the given geometry ends up when centred on
    // selectorCentre and kept inside screen with a 70 pixel margin.
    static QRect placeDialog(const QRect& dialogGeometry, const QPoint& selectorCentre, const QRect& screen);

signals:
    void coordSysSelectionChanged(const GcpCoordSysInfo& info);

public slots:
    void on_button_browse_clicked();

protected:
    void reset();
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    friend class CoordSysSelectorTest;

    void validateDialogPos();
    void onDialogLoadFinished();

    Ui::CoordSysSelector* ui = nullptr;
    GcpCoordSysInfo m_defaultGpsCoordSys;
    QString m_pendingDefaultCode;
    QPointer<CoordSysDialog> m_dialog;
    bool m_input = true;
    // Set once the program or the user chose a system for this field, so
    // showing the field again does not replace that choice.
    bool m_explicitChoice = false;
    bool m_browsing = false;
};

} // namespace AppCreate
} // namespace Zyn
