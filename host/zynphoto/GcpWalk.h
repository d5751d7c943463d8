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
// user would: the "Survey Points" command, points pasted into the table, a
// photo near a point opened and the point placed on it with the magnifier.
class GcpWalk : public QObject {
    Q_OBJECT
public:
    using Condition = std::function<bool()>;
    using Step = std::function<void()>;
    using Wait = std::function<void(const Condition&, int, const QString&, const Step&)>;
    using Save = std::function<bool(const QPixmap&, const QString&)>;

    GcpWalk(AppCreate::CreateViewController* create, QWidget* window, const QStringList& photos, Wait wait, Save save,
            Step done, QObject* parent = nullptr);
    void start();

    // Before the create view opens: the survey's coordinate system (the UTM
    // zone of the photos) as the user's last choice, and its points, at the
    // ground under some of the photos, on the clipboard as a spreadsheet
    // would put them.
    static void prepare(const QStringList& photos);

private:
    void openEditor();
    void pastePoints();
    void openPhoto();
    void placeMarker();
    QWidget* panel() const;
    static QString pointsAtPhotos(const QStringList& photos, QString* zoneCode);

    QPointer<AppCreate::CreateViewController> m_create;
    QPointer<QWidget> m_window;
    QStringList m_photos;
    Wait m_wait;
    Save m_save;
    Step m_done;
};

} // namespace Host
} // namespace Zyn
