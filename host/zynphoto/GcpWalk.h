#pragma once

#include <QObject>
#include <QPixmap>
#include <QPointer>
#include <QSet>
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
// target marked once at its true pixel, its suggestions on the other
// photos accepted (the first point's with Enter, the others' at once),
// until every point is valid.
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
    void openPhoto(const QString& file, const Step& then);
    QString assistStatus() const;
    void pressKey(int key);
    void acceptWithKeys();
    void pressEnterWhileSuggested(int left);
    void acceptAll();
    QWidget* panel() const;

    QPointer<AppCreate::CreateViewController> m_create;
    QPointer<QWidget> m_window;
    QString m_photoDir;
    QStringList m_truthRows; // "image,point,x,y"
    QStringList m_toPlace;   // the rows still to place
    QString m_point;
    QString m_marked;
    QSet<QString> m_located; // photos with a GPS position
    int m_placed = 0;
    Wait m_wait;
    Save m_save;
    Step m_done;
};

} // namespace Host
} // namespace Zyn
