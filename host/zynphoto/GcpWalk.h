#pragma once

#include <QObject>
#include <QPixmap>
#include <QPointer>
#include <QStringList>

#include <functional>

class QWidget;

namespace Zyn {
namespace AppCreate {
class CreateViewController;
}
namespace Host {

// The survey-points part of the demo walk, driven through the widgets as a
// user would: the "Survey Points" command, the surveyed coordinates of the
// flight's targets pasted into the table, the photos near a point, and each
// target placed at its true pixel on the photos that show it, until every
// point is valid.
class GcpWalk : public QObject {
    Q_OBJECT
public:
    using Condition = std::function<bool()>;
    using Step = std::function<void()>;
    using Wait = std::function<void(const Condition&, int, const QString&, const Step&)>;
    using Save = std::function<bool(const QPixmap&, const QString&)>;

    GcpWalk(AppCreate::CreateViewController* create, QWidget* window, const QString& photoDir, Wait wait, Save save,
            Step done, QObject* parent = nullptr);
    void start();

    // Before the create view opens: the survey's coordinate system (written
    // by the photo generator beside the photos) as the user's last choice,
    // and the surveyed points on the clipboard as a spreadsheet puts them.
    static void prepare(const QString& photoDir);

private:
    void openEditor();
    void pastePoints();
    void placeNext();
    void placeMarker(const QPoint& pixel);
    QWidget* panel() const;

    QPointer<AppCreate::CreateViewController> m_create;
    QPointer<QWidget> m_window;
    QString m_photoDir;
    QStringList m_toPlace; // "image,point,x,y" rows of the truth, still to place
    int m_placed = 0;
    Wait m_wait;
    Save m_save;
    Step m_done;
};

} // namespace Host
} // namespace Zyn
