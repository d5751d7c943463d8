// The UI base library: commands, groups, the command manager, tool stack,
// responder chain and icon set; view controllers and the action panel
// driven through its buttons; the task and file dialogs, answered by a
// handler or by clicks on the real dialog.
#include <support/TestSupport.h>
#include <uibase/BaseView.h>
#include <uibase/BaseViewController.h>
#include <uibase/CmdsViewController.h>
#include <uibase/CommandBase.h>
#include <uibase/CommandGroup.h>
#include <uibase/FileDialog.h>
#include <uibase/QtUiToolkit.h>
#include <uibase/TaskDialog.h>
#include <uibase/ToolStack.h>
#include <uibase/ViewResponder.h>
#include <uitoolkit/ActionPanelVC.h>

#include <QtTest>
#include <QtWidgets>

using namespace Zyn::UiBase;
using Zyn::UiToolkit::ActionPanelVC;

namespace {

// Named name, else by its class; counts its runs and answers result.
class TestCommand : public CommandBase {
    Q_OBJECT
public:
    explicit TestCommand(CmdsViewController* owner, const QString& name = QString(), bool result = true)
        : CommandBase(owner), name(name), result(result) {}
    QString getCommandName() const override { return name.isEmpty() ? CommandBase::getCommandName() : name; }
    bool execute() override
    {
        ++runs;
        return result;
    }
    const QString name;
    const bool result;
    int runs = 0;
};

class StateRecorder : public QObject, public CommandStateProtocol {
    Q_OBJECT
public:
    void onCommandStateChanged(CommandBase* command) override { changes << command; }
    QList<CommandBase*> changes;
};

class RecordingTools : public ToolStack {
public:
    void onToolActivated(const QString& tool) override { events << "+" + tool; }
    void onToolDeactivated(const QString& tool) override { events << "-" + tool; }
    QStringList events;
};

class Responder : public ViewResponder {
public:
    explicit Responder(const QString& handles) : handles(handles) {}
    bool respondToAction(const QString& action) override
    {
        asked << action;
        return action == handles;
    }
    const QString handles;
    QStringList asked;
};

QStringList names(const QList<CommandBase*>& commands)
{
    QStringList out;
    for (CommandBase* c : commands)
        out << c->getCommandName();
    return out;
}

// Records its lifecycle calls into a shared log.
class LoggingVC : public BaseViewController {
    Q_OBJECT
public:
    LoggingVC(const QString& name, QStringList* log, QObject* parent = nullptr)
        : BaseViewController(parent), m_name(name), m_log(log) {}
    ~LoggingVC() override { add("destroyed"); }
    void viewDidLoad() override { add("didLoad"); }
    void viewWillAppear() override { add("willAppear"); }
    void viewDidAppear() override { add("didAppear"); }
    void viewWillDisappear() override { add("willDisappear"); }
    void viewDidDisappear() override { add("didDisappear"); }

private:
    void add(const char* event) { m_log->append(m_name + ':' + event); }
    QString m_name;
    QStringList* m_log;
};

QToolButton* button(BaseViewController* panel, const char* name)
{
    return panel->getView()->findChild<QToolButton*>(name);
}

// The dialog's buttons by name, sorted; clicks the one named click if it is shown.
QStringList buttonsThenClick(QDialog* dialog, const QString& click)
{
    QStringList names;
    for (QPushButton* button : dialog->findChildren<QPushButton*>())
        names << button->objectName();
    auto* target = click.isEmpty() ? nullptr : dialog->findChild<QPushButton*>(click);
    if (target && target->isVisible())
        QTest::mouseClick(target, Qt::LeftButton);
    names.sort();
    return names;
}

} // namespace

class TestUiBase : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    QStringList m_log;
    QScopedPointer<LoggingVC> m_presenter;

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid());
        QVERIFY(QDir(m_dir.path()).mkdir("photos"));
        QVERIFY(Zyn::TestSupport::writeFile(m_dir.filePath("a.jpg"), "x"));
    }
    void init()
    {
        m_presenter.reset(new LoggingVC("p", &m_log));
        QVERIFY(Zyn::TestSupport::showExposed(m_presenter->getView(), QSize(640, 480)));
        m_log.clear();
    }
    void cleanup()
    {
        FileDialog::clearHandler();
        TaskDialog::clearHandler();
        m_presenter.reset();
    }

    void triggerRunsEnabledCommandsAndReportsResult()
    {
        CmdsViewController owner;
        auto* ok = new TestCommand(&owner);
        auto* failing = new TestCommand(&owner, "failing", false);
        QSignalSpy okSpy(ok, &CommandBase::executed);
        QSignalSpy failSpy(failing, &CommandBase::executed);
        ok->trigger();
        failing->trigger();
        QCOMPARE(QList<int>({ok->runs, failing->runs, okSpy.count()}), QList<int>({1, 1, 1}));
        QCOMPARE(QVariantList({okSpy.at(0).at(0), failSpy.at(0).at(0)}), QVariantList({true, false}));

        ok->setEnabled(false);
        ok->onTriggered();
        QCOMPARE(ok->runs, 1);
        QCOMPARE(ok->getCommandName(), QStringLiteral("TestCommand"));
        QVERIFY(ok->hasCommand("TestCommand") && !ok->hasCommand("Other") && !ok->hasCommand(QString()));
    }

    void stateChangesReachObservers()
    {
        TestCommand command(nullptr);
        StateRecorder recorder;
        command.addObserver(&recorder);
        command.setEnabled(false);
        command.setVisible(false);
        command.setIsPaidFeature(true);
        QCOMPARE(recorder.changes, (QList<CommandBase*>{&command, &command, &command}));
        // Setting the same value again is no change.
        command.setIsPaidFeature(true);
        command.setEnabled(false);
        QCOMPARE(recorder.changes.size(), 3);
        command.setText("Renamed");
        QCOMPARE(recorder.changes.size(), 4);
    }

    void groupOrdersByPositionThenArrival()
    {
        CommandGroup group(nullptr, "Tools");
        auto* main = new TestCommand(nullptr, "main");
        QSignalSpy changed(&group, &CommandGroup::commandsChanged);
        group.addCommand(new TestCommand(nullptr, "trailingA"), CommandGroup::PositionTrailing);
        group.addCommand(new TestCommand(nullptr, "leading"), CommandGroup::PositionLeading);
        group.addCommand(new TestCommand(nullptr, "trailingB"), CommandGroup::PositionTrailing);
        QCOMPARE(group.addCommand(main, CommandGroup::PositionMain), main);
        QCOMPARE(changed.count(), 4);
        QCOMPARE(names(group.commands()), QStringList({"leading", "main", "trailingA", "trailingB"}));
        QCOMPARE(group.addCommand(main, CommandGroup::PositionLeading), nullptr);
        QCOMPARE(group.addCommand(nullptr, 0), nullptr);
        QCOMPARE(group.positionOf(main), int(CommandGroup::PositionMain));
        QVERIFY(group.hasCommand("trailingB") && !group.hasCommand("missing"));
    }

    void groupOwnsAndForgetsDeletedMembers()
    {
        QPointer<CommandBase> member;
        {
            CommandGroup group(nullptr);
            member = group.addCommand(new TestCommand(nullptr, "a"), 0);
            auto* other = group.addCommand(new TestCommand(nullptr, "b"), 0);
            QSignalSpy changed(&group, &CommandGroup::commandsChanged);
            delete other;
            QCOMPARE(group.commands().size(), 1);
            QCOMPARE(changed.count(), 1);
            QVERIFY(group.removeCommand(member));
            QVERIFY(!group.removeCommand(member));
            QVERIFY(!member->parent());
            group.addCommand(member, 1);
        }
        // Deleting the group deleted what it owned.
        QVERIFY(member.isNull());
    }

    void managerFlattensGroupsAndNotifies()
    {
        CmdsViewController controller;
        QSignalSpy changed(&controller, &CmdsViewController::commandsChanged);
        auto* single = new TestCommand(&controller, "single");
        auto* group = new CommandGroup(&controller, "group");
        QVERIFY(controller.addCommand(single));
        QVERIFY(!controller.addCommand(single));
        QVERIFY(!controller.addCommand(nullptr));
        QVERIFY(single->isAddedToCmdsVC());
        QVERIFY(controller.addCommand(group));
        // A member added to a group already in the manager is a change too.
        group->addCommand(new TestCommand(nullptr, "inner"), CommandGroup::PositionTrailing);
        QCOMPARE(changed.count(), 3);
        QCOMPARE(controller.commands().size(), 2);
        QCOMPARE(names(controller.flattenedCommands()), QStringList({"single", "inner"}));
        QCOMPARE(controller.findCommand("inner")->getCommandName(), QStringLiteral("inner"));
        QCOMPARE(controller.findCommand("group"), group);
        QVERIFY(!controller.findCommand("nothing"));

        QVERIFY(controller.removeCommand(single));
        QVERIFY(!single->isAddedToCmdsVC());
        QCOMPARE(changed.count(), 4);
        delete group;
        QVERIFY(controller.commands().isEmpty());
    }

    void toolStackActivatesTopOnly()
    {
        RecordingTools tools;
        tools.pushTool("select");
        tools.pushTool("measure");
        tools.pushTool("measure"); // already active: nothing happens
        QCOMPARE(tools.events, QStringList({"+select", "-select", "+measure"}));
        tools.events.clear();
        QCOMPARE(tools.popTool(), QStringLiteral("measure"));
        QCOMPARE(tools.events, QStringList({"-measure", "+select"}));

        tools.pushTool("zoom");
        tools.pushTool("pan");
        QVERIFY(tools.removeTool("zoom"));
        QCOMPARE(tools.tools(), QStringList({"select"}));
        QVERIFY(!tools.removeTool("zoom"));
        tools.clearTools();
        QVERIFY(tools.activeTool().isEmpty() && tools.popTool().isEmpty());
    }

    void responderChainStopsAtHandlerAndSurvivesLoops()
    {
        Responder first("copy");
        Responder second("paste");
        Responder third("paste");
        first.setNextResponder(&second);
        second.setNextResponder(&third);
        QCOMPARE(first.sendAction("paste"), &second);
        QVERIFY(third.asked.isEmpty());
        QCOMPARE(first.sendAction("copy"), &first);
        third.setNextResponder(&first); // a loop
        QCOMPARE(first.sendAction("unknown"), nullptr);
        QCOMPARE(first.asked.count("unknown"), 1);
    }

    void iconsResolveAndUnknownNamesGetPlaceholder()
    {
        QtUiToolkit* toolkit = QtUiToolkit::Instance();
        QCOMPARE(toolkit->resolveIconPath("db_drone.png"), QStringLiteral(":/host/images/db_drone.png"));
        QCOMPARE(toolkit->resolveIconPath("ap_gcp"), QStringLiteral(":/host/images/ap_gcp.png"));
        QVERIFY(toolkit->resolveIconPath("no_such_icon.png").isEmpty());
        const QImage drone = toolkit->getPixmap("db_drone.png", QSize(32, 32)).toImage();
        const QImage placeholder = toolkit->getIcon("no_such_icon.png").pixmap(32, 32).toImage();
        QVERIFY(!drone.isNull() && !placeholder.isNull());
        QVERIFY(placeholder != drone.convertToFormat(placeholder.format()));
    }

    void viewIsCreatedOnceWithViewDidLoad()
    {
        LoggingVC vc("a", &m_log);
        QVERIFY(!vc.isViewLoaded());
        BaseView* view = vc.getView();
        QCOMPARE(vc.getView(), view);
        QCOMPARE(view->getViewController(), &vc);
        QCOMPARE(m_log, QStringList({"a:didLoad"}));
        // A view destroyed by someone else is gone for good, not rebuilt.
        delete view;
        QVERIFY(!vc.getQtWidget());
        QCOMPARE(m_log.count("a:didLoad"), 1);
    }

    void presentFillsPresenterAndFollowsItsSize()
    {
        auto* child = new LoggingVC("c", &m_log);
        QSignalSpy presented(m_presenter.data(), &BaseViewController::presented);
        m_presenter->presentViewController(child, TransitionFromRight);
        QCOMPARE(presented.count(), 1);
        QCOMPARE(m_presenter->presentedViewController(), child);
        QCOMPARE(child->presentingViewController(), m_presenter.data());
        QCOMPARE(child->getView()->parentWidget(), m_presenter->getQtWidget());
        QCOMPARE(child->getView()->size(), QSize(640, 480));
        QVERIFY(child->getView()->isVisible());
        QCOMPARE(m_log, QStringList({"c:didLoad", "c:willAppear", "c:didAppear"}));
        // The slide ends with the view in place.
        QTRY_COMPARE(child->getView()->pos(), QPoint(0, 0));
        // Presenting the same controller twice is ignored.
        m_presenter->presentViewController(child, TransitionNone);
        QCOMPARE(m_presenter->presentedViewControllers().size(), 1);
        m_presenter->getView()->resize(500, 350);
        QCOMPARE(child->getView()->size(), QSize(500, 350));
    }

    void dismissDeletesUnlessDeleteOnCloseCleared()
    {
        QPointer<LoggingVC> temporary = new LoggingVC("t", &m_log);
        QPointer<BaseView> temporaryView = temporary->getView();
        m_presenter->presentViewController(temporary, TransitionNone);
        m_log.clear();
        temporary->dismissViewController();
        QCOMPARE(m_log, QStringList({"t:willDisappear", "t:didDisappear"}));
        QVERIFY(!m_presenter->presentedViewController());
        QTRY_VERIFY(temporary.isNull() && temporaryView.isNull());

        // A view its owner keeps: hidden and given back, controller alive.
        QObject owner;
        QWidget oldParent;
        auto* kept = new LoggingVC("k", &m_log, &owner);
        kept->getView()->setParent(&oldParent);
        kept->getView()->setAttribute(Qt::WA_DeleteOnClose, false);
        m_presenter->presentViewController(kept, TransitionFromRight);
        QCOMPARE(kept->parent(), m_presenter.data());
        m_presenter->dismissViewController();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(kept->parent(), &owner);
        QCOMPARE(kept->getView()->parentWidget(), &oldParent);
        QVERIFY(!kept->getView()->isVisibleTo(&oldParent));
        QVERIFY(!m_log.contains("k:destroyed"));
        // It can be presented again.
        m_presenter->presentViewController(kept, TransitionFromRight);
        QCOMPARE(m_presenter->presentedViewController(), kept);
    }

    void dismissingLowerPanelDismissesTheOneAbove()
    {
        auto* lower = new LoggingVC("lower", &m_log);
        auto* upper = new LoggingVC("upper", &m_log);
        m_presenter->presentViewController(lower, TransitionNone);
        lower->presentViewController(upper, TransitionNone);
        m_log.clear();
        lower->dismissViewController();
        QCOMPARE(m_log.mid(0, 4), QStringList({"upper:willDisappear", "upper:didDisappear",
                                               "lower:willDisappear", "lower:didDisappear"}));
        QTRY_VERIFY(m_log.contains("lower:destroyed"));
        QVERIFY(m_log.contains("upper:destroyed"));
    }

    // The panel shows one of its buttons; clicking it tells the main view and closes the panel.
    void panelButtonClosesAndTellsMainView_data()
    {
        QTest::addColumn<bool>("cross");
        QTest::newRow("cross") << true;
        QTest::newRow("back") << false;
    }
    void panelButtonClosesAndTellsMainView()
    {
        QFETCH(bool, cross);
        QPointer<LoggingVC> content = new LoggingVC("m", &m_log);
        content->getView()->setParent(m_presenter->getQtWidget()); // as the plug-in attaches it
        QPointer<ActionPanelVC> panel = new ActionPanelVC;
        panel->setMainView(content->getView());
        panel->setBackButton(!cross);
        panel->setCrossButton(cross);
        panel->setTitle("Survey Points");
        QCOMPARE(panel->getMainViewController(), content.data());
        m_presenter->presentViewController(panel, TransitionFromRight);
        QVERIFY(m_log.contains("m:willAppear") && content->getView()->isVisible());
        QCOMPARE(panel->getView()->findChild<QLabel*>("title_label")->text(), QStringLiteral("Survey Points"));
        QVERIFY(!button(panel, cross ? "back_button" : "cross_button")->isVisible());

        QSignalSpy clicked(panel.data(), cross ? &ActionPanelVC::crossClicked : &ActionPanelVC::backClicked);
        m_log.clear();
        QTest::mouseClick(button(panel, cross ? "cross_button" : "back_button"), Qt::LeftButton);
        QCOMPARE(clicked.count(), 1);
        QCOMPARE(m_log.mid(0, 2), QStringList({"m:willDisappear", "m:didDisappear"}));
        QVERIFY(!m_presenter->presentedViewController());
        QTRY_VERIFY(panel.isNull());
        QVERIFY(content.isNull());
    }

    void panelShownAloneHidesOnCross()
    {
        ActionPanelVC panel(new LoggingVC("m", &m_log));
        QVERIFY(Zyn::TestSupport::showExposed(panel.getView()));
        QTest::mouseClick(button(&panel, "cross_button"), Qt::LeftButton);
        QVERIFY(m_log.contains("m:willDisappear"));
        QVERIFY(!panel.getView()->isVisible());
    }

    void realDialogShowsTheRequestAndAnswersTheClickedIconButton()
    {
        QWidget parent;
        parent.show();
        const QStringList texts{"Some photos do not have GPS data", "The output will not be geolocated."};
        QStringList shown;
        QWidget* dialogParent = nullptr;
        Zyn::TestSupport::whenModalShown<QDialog>([&](QDialog* dialog) {
            shown << dialog->findChild<QLabel*>("main_text_label")->text()
                  << dialog->findChild<QLabel*>("secondary_text_label")->text();
            dialogParent = dialog->parentWidget();
            shown << buttonsThenClick(dialog, "icon_button_1");
        });
        const int result = TaskDialog::showWarningMessage(
            &parent, texts[0], texts[1], TaskDialog::IconButtonsOnly,
            {{":/resources/images/sys_message_box_button_yes.png", "Continue"}, {QString(), "Stop"}});
        QCOMPARE(result, TaskDialog::IconButtonResult + 1);
        QCOMPARE(shown, texts + QStringList({"icon_button_0", "icon_button_1"}));
        QCOMPARE(dialogParent, &parent);
        // The dialog is gone once answered.
        QVERIFY(parent.findChildren<QDialog*>().isEmpty());
    }

    void buttonSetsAnswerTheirButton_data()
    {
        QTest::addColumn<int>("buttonSet");
        QTest::addColumn<QString>("click");
        QTest::addColumn<QStringList>("buttons");
        QTest::addColumn<int>("expected");
        const auto row = [](const char* name, int set, const char* click, const QStringList& buttons, int answer) {
            QTest::newRow(name) << set << QString(click) << buttons << answer;
        };
        row("ok", TaskDialog::OkButton, "ok_button", {"ok_button"}, TaskDialog::Ok);
        row("cancel", TaskDialog::OkCancelButtons, "cancel_button", {"cancel_button", "ok_button"}, TaskDialog::Cancel);
        row("yes", TaskDialog::YesNoButtons, "yes_button", {"no_button", "yes_button"}, TaskDialog::Yes);
        row("no", TaskDialog::YesNoCancelButtons, "no_button", {"cancel_button", "no_button", "yes_button"},
            TaskDialog::No);
        // Without icon buttons the dialog still offers a way out.
        row("nothing to click", TaskDialog::IconButtonsOnly, "ok_button", {"ok_button"}, TaskDialog::Ok);
        row("escape", TaskDialog::YesNoButtons, "", {"no_button", "yes_button"}, TaskDialog::Rejected);
    }
    void buttonSetsAnswerTheirButton()
    {
        QFETCH(int, buttonSet);
        QFETCH(QString, click);
        QFETCH(QStringList, buttons);
        QFETCH(int, expected);
        QStringList names;
        bool secondaryVisible = true;
        Zyn::TestSupport::whenModalShown<QDialog>([&](QDialog* dialog) {
            secondaryVisible = dialog->findChild<QLabel*>("secondary_text_label")->isVisible();
            names = buttonsThenClick(dialog, click);
            if (click.isEmpty())
                QTest::keyClick(dialog, Qt::Key_Escape);
        });
        const int result = TaskDialog::showErrorMessage(nullptr, "Enter a project name.", QString(), buttonSet);
        QCOMPARE(names, buttons);
        QVERIFY(!secondaryVisible);
        QCOMPARE(result, expected);
    }

    void parentDestroyedWhileOpen()
    {
        auto* parent = new QWidget;
        parent->show();
        Zyn::TestSupport::whenModalShown<QDialog>([parent](QDialog*) { delete parent; });
        QCOMPARE(TaskDialog::showWarningMessage(parent, "Main"), int(TaskDialog::Rejected));
    }

    void noDialogOffTheGuiThread()
    {
        int result = -1;
        const auto ask = [&result] { result = TaskDialog::showErrorMessage(nullptr, "Main"); };
        QScopedPointer<QThread> thread(QThread::create(ask));
        thread->start();
        QVERIFY(thread->wait(10000));
        QCOMPARE(result, int(TaskDialog::Rejected));
    }

    // The other modes, the folder, filter and parent are checked where the plug-in asks.
    void handlerAnswersOpenFilesAndCancel()
    {
        QList<FileDialog::Request> requests;
        QStringList answer{"/data/one.xml", "/data/two.xml"};
        FileDialog::setHandler([&](const FileDialog::Request& request) {
            requests << request;
            return answer;
        });
        QCOMPARE(FileDialog::getOpenFileName(nullptr, "Open File", "/data", "Survey (*.xml)"), answer.first());
        QCOMPARE(FileDialog::getOpenFileNames(nullptr, "Add", "/photos", "Images (*.jpg)"), answer);
        QCOMPARE(requests.size(), 2);
        QCOMPARE(requests[1].mode, FileDialog::OpenFiles);

        answer.clear(); // cancelled
        QVERIFY(FileDialog::getOpenFileName(nullptr, "Open", "/", "*").isNull());
        QVERIFY(qApp->findChildren<QFileDialog*>().isEmpty());
    }

    void userPicksAFileAndAFolderTogether()
    {
        Zyn::TestSupport::whenModalShown<QFileDialog>([&](QFileDialog* dialog) {
            auto* view = dialog->findChild<QListView*>("listView");
            auto* choose = dialog->findChild<QPushButton*>("choose_selection_button");
            QVERIFY(view && choose);
            auto indexOf = [view](const QString& name) {
                const QModelIndex first = view->model()->index(0, 0, view->rootIndex());
                return view->model()->match(first, Qt::DisplayRole, name, 1, Qt::MatchExactly).value(0);
            };
            // The folder's entries are listed in the background.
            QTRY_VERIFY(indexOf("a.jpg").isValid() && indexOf("photos").isValid());
            QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier,
                              view->visualRect(indexOf("a.jpg")).center());
            QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::ControlModifier,
                              view->visualRect(indexOf("photos")).center());
            QTest::mouseClick(choose, Qt::LeftButton);
        });
        QStringList chosen = FileDialog::getOpenFilesAndFolders(nullptr, "Add photos", m_dir.path(), "Images (*.jpg)");
        chosen.sort();
        QCOMPARE(chosen, (QStringList{m_dir.filePath("a.jpg"), m_dir.filePath("photos")}));
    }

    void chooseWithoutSelectionTakesTheShownFolder()
    {
        Zyn::TestSupport::whenModalShown<QFileDialog>([](QFileDialog* dialog) {
            if (auto* choose = dialog->findChild<QPushButton*>("choose_selection_button"))
                QTest::mouseClick(choose, Qt::LeftButton);
        });
        const QString photos = m_dir.filePath("photos");
        QCOMPARE(FileDialog::getOpenFilesAndFolders(nullptr, "Add photos", photos, QString()), QStringList{photos});
    }

    void missingNameKeepsTheDialogOpen()
    {
        bool stillOpen = false;
        Zyn::TestSupport::whenModalShown<QFileDialog>([&](QFileDialog* dialog) {
            auto* name = dialog->findChild<QLineEdit*>("fileNameEdit");
            auto* choose = dialog->findChild<QPushButton*>("choose_selection_button");
            if (!name || !choose)
                return;
            QTest::keyClicks(name, "nothing-here.jpg");
            QTest::mouseClick(choose, Qt::LeftButton);
            stillOpen = dialog->isVisible();
            dialog->reject(); // the user gives up
        });
        QVERIFY(FileDialog::getOpenFilesAndFolders(nullptr, "Add", m_dir.path(), QString()).isEmpty());
        QVERIFY(stillOpen);
    }

    void saveAddsTheFiltersSuffix()
    {
        Zyn::TestSupport::whenModalShown<QFileDialog>([](QFileDialog* dialog) {
            auto* name = dialog->findChild<QLineEdit*>("fileNameEdit");
            if (!name)
                return;
            QTest::keyClicks(name, "survey");
            QTest::keyClick(name, Qt::Key_Return);
        });
        QCOMPARE(FileDialog::getSaveFileName(nullptr, "Save", m_dir.path(), "Survey files (*.xml);;All files (*)"),
                 m_dir.filePath("survey.xml"));
    }
};

QTEST_MAIN(TestUiBase)
#include "tst_uibase.moc"
