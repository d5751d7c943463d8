// The aerial create view in a panel over a window, as the user meets it:
// where the settings flyout sits, and what closing the panel does with the
// photos added.

#include <create/AerialCreateViewController.h>

#include <appcreate/MainState.h>
#include <appcreate/PhotoPreview.h>
#include <keelcore/Dispatch.h>
#include <uibase/BaseView.h>
#include <uibase/TaskDialog.h>
#include <uitoolkit/ActionPanelVC.h>

#include <QtTest>
#include <QtWidgets>

using Zyn::AppCreate::AerialCreateViewController;
using Zyn::AppCreate::MainState;
using Zyn::AppCreate::PhotoPreview;
using Zyn::UiBase::BaseViewController;
using Zyn::UiBase::TaskDialog;
using Zyn::UiToolkit::ActionPanelVC;

class TstCreateDesktop : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QCoreApplication::setApplicationName(QStringLiteral("tst_createdesktop"));
        QVERIFY(m_dir.isValid());
        for (int i = 1; i <= 3; ++i) {
            QImage image(64, 48, QImage::Format_RGB32);
            image.fill(QColor(40 * i, 120, 60));
            m_photos << QDir::cleanPath(m_dir.filePath(QStringLiteral("IMG_%1.jpg").arg(i)));
            QVERIFY(image.save(m_photos.last(), "JPG"));
        }
        m_window.getView()->resize(1000, 700);
        m_window.getView()->show();
    }
    void init()
    {
        QSettings().clear();
        m_dialogs.clear();
        TaskDialog::setHandler([this](const TaskDialog::Request& r) {
            m_dialogs << r;
            // The GPS warning of photos without GPS is only acknowledged.
            return r.mainText.startsWith(QLatin1String("Discard")) ? m_answer : int(TaskDialog::IconButtonResult);
        });
        m_controller = new AerialCreateViewController;
        m_panel = new ActionPanelVC;
        m_controller->getView();
        m_controller->Initialize();
        m_panel->setMainView(m_controller->getView());
        m_window.presentViewController(m_panel, 0);
    }
    void cleanup()
    {
        if (m_panel && m_panel->presentingViewController())
            m_panel->dismissViewController();
        delete m_panel.data();
        delete AerialCreateViewController::takeKeptPanel();
        QVERIFY(KeelCore::waitForIdle());
        TaskDialog::clearHandler();
    }
    void flyoutStaysBesideTheCanvas_data()
    {
        QTest::addColumn<QSize>("window");
        QTest::newRow("wide") << QSize(1400, 900);
        QTest::newRow("narrow") << QSize(760, 560);
        QTest::newRow("low") << QSize(1200, 480);
    }
    void flyoutStaysBesideTheCanvas()
    {
        QFETCH(QSize, window);
        QCOMPARE(canvas()->addFiles(m_photos).size(), 3);
        QTest::mouseClick(canvas()->findChild<QPushButton*>(QStringLiteral("create_button")), Qt::LeftButton);
        QDialog* flyout = canvas()->getFlyout();
        QTRY_VERIFY(flyout->isVisible());
        // Part of the window, not a window of its own with a second close button.
        QVERIFY(!flyout->isWindow());
        m_window.getView()->resize(window);
        QTRY_COMPARE(m_panel->getQtWidget()->size(), window);
        QTRY_VERIFY(inWindow(canvas()).right() < inWindow(flyout).left());
        const QRect panel = inWindow(flyout);
        QVERIFY(QRect(QPoint(0, 0), window).contains(panel));
        for (const char* name : {"create_button", "count_label"}) {
            const QWidget* w = canvas()->findChild<QWidget*>(QLatin1String(name));
            QVERIFY2(!panel.intersects(inWindow(w)), name);
            QVERIFY2(w->isVisible(), name);
        }
        // Its own close button takes it away and gives the canvas its room back.
        QTest::mouseClick(flyout->findChild<QToolButton*>(QStringLiteral("close_toolButton")), Qt::LeftButton);
        QVERIFY(!flyout->isVisible());
        QTRY_COMPARE(inWindow(canvas()).right(), inWindow(m_panel->getMainView()).right());
    }
    void closingAsksBeforeDiscardingPhotos_data()
    {
        QTest::addColumn<int>("photos");
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("closed");
        QTest::addColumn<bool>("kept");
        QTest::newRow("no photos: closes without asking") << 0 << -1 << true << false;
        QTest::newRow("discard") << 3 << int(TaskDialog::IconButtonResult) << true << false;
        QTest::newRow("keep for later") << 3 << int(TaskDialog::IconButtonResult + 1) << true << true;
        QTest::newRow("cancel") << 2 << int(TaskDialog::IconButtonResult + 2) << false << false;
        QTest::newRow("dialog closed") << 1 << int(TaskDialog::Rejected) << false << false;
    }
    void closingAsksBeforeDiscardingPhotos()
    {
        QFETCH(int, photos);
        QFETCH(int, answer);
        QFETCH(bool, closed);
        QFETCH(bool, kept);
        m_answer = answer;
        canvas()->addFiles(m_photos.mid(0, photos));
        canvas()->setFileSelected(m_photos.first(), false);
        QVERIFY(KeelCore::waitForIdle());
        m_dialogs.clear();
        QTest::mouseClick(m_panel->getQtWidget()->findChild<QToolButton*>(QStringLiteral("cross_button")), Qt::LeftButton);
        if (photos == 0) {
            QVERIFY(m_dialogs.isEmpty());
        } else {
            QCOMPARE(m_dialogs.size(), 1);
            const TaskDialog::Request& r = m_dialogs.first();
            QCOMPARE(r.mainText, photos == 1 ? QString("Discard the photo and settings of this project?")
                                             : QString("Discard the %1 photos and settings of this project?").arg(photos));
            QCOMPARE(r.iconButtons.size(), 3);
            QCOMPARE(r.iconButtons.at(1).label, QString("Keep for later"));
        }
        QCOMPARE(m_panel && m_panel->presentingViewController() == &m_window, !closed);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        // Discarded panels are gone with their photos; kept ones wait, photos,
        // inclusion and all, for the next opening in this session.
        QCOMPARE(m_panel.isNull(), closed && !kept);
        BaseViewController* next = AerialCreateViewController::takeKeptPanel();
        QCOMPARE(next, kept ? m_panel.data() : nullptr);
        if (kept) {
            m_window.presentViewController(next, 0);
            QVERIFY(m_panel->getQtWidget()->isVisible());
            QCOMPARE(canvas()->getFiles(), m_photos);
            QCOMPARE(canvas()->getSelectedFiles(), m_photos.mid(1));
            QVERIFY(!AerialCreateViewController::takeKeptPanel());
        }
    }

private:
    PhotoPreview* canvas() const { return qobject_cast<MainState*>(m_controller->getState())->getPhotoCanvas(); }
    QRect inWindow(const QWidget* w)
    {
        return QRect(w->mapTo(m_window.getView(), QPoint(0, 0)), w->size());
    }

    QTemporaryDir m_dir;
    QStringList m_photos;
    BaseViewController m_window;
    QPointer<ActionPanelVC> m_panel;
    QPointer<AerialCreateViewController> m_controller;
    QList<TaskDialog::Request> m_dialogs;
    int m_answer = TaskDialog::Rejected;
};

QTEST_MAIN(TstCreateDesktop)
#include "tst_createdesktop.moc"
