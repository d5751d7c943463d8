// Commands, groups, the command manager, tool stack, responder chain and
// the icon set.
#include <uibase/CmdsViewController.h>
#include <uibase/CommandBase.h>
#include <uibase/CommandGroup.h>
#include <uibase/QtUiToolkit.h>
#include <uibase/ToolStack.h>
#include <uibase/ViewResponder.h>

#include <QSignalSpy>
#include <QtTest>

using namespace Zyn::UiBase;

namespace {

class CountingCommand : public CommandBase {
    Q_OBJECT
public:
    explicit CountingCommand(CmdsViewController* owner, bool result = true)
        : CommandBase(owner)
        , m_result(result)
    {
    }
    bool execute() override
    {
        ++runs;
        return m_result;
    }
    int runs = 0;

private:
    bool m_result;
};

class NamedCommand : public CommandBase {
    Q_OBJECT
public:
    NamedCommand(CmdsViewController* owner, const QString& name)
        : CommandBase(owner)
        , m_name(name)
    {
    }
    QString getCommandName() const override { return m_name; }

private:
    QString m_name;
};

class StateRecorder : public QObject, public CommandStateProtocol {
    Q_OBJECT
public:
    void onCommandStateChanged(CommandBase* command) override { changes << command; }
    QList<CommandBase*> changes;
};

class RecordingTools : public ToolStack {
public:
    void onToolActivated(const QString& tool) override { events << QStringLiteral("+") + tool; }
    void onToolDeactivated(const QString& tool) override { events << QStringLiteral("-") + tool; }
    QStringList events;
};

class Responder : public ViewResponder {
public:
    explicit Responder(const QString& handles)
        : m_handles(handles)
    {
    }
    bool respondToAction(const QString& action) override
    {
        asked << action;
        return action == m_handles;
    }
    QStringList asked;

private:
    QString m_handles;
};

} // namespace

class TestCommands : public QObject {
    Q_OBJECT
private slots:
    void triggerRunsExecuteOnceAndReportsResult();
    void disabledCommandDoesNotRun();
    void commandNameIsTheClassName();
    void stateChangesReachObservers();
    void groupOrdersByPositionThenArrival();
    void groupOwnsAndForgetsDeletedMembers();
    void managerFlattensGroupsAndNotifies();
    void toolStackActivatesTopOnly();
    void responderChainStopsAtHandlerAndSurvivesLoops();
    void iconsResolveAndUnknownNamesGetPlaceholder();
};

void TestCommands::triggerRunsExecuteOnceAndReportsResult()
{
    CmdsViewController owner;
    auto* ok = new CountingCommand(&owner, true);
    auto* failing = new CountingCommand(&owner, false);
    QCOMPARE(ok->getViewController(), &owner);
    QCOMPARE(ok->parent(), &owner);

    QSignalSpy okSpy(ok, &CommandBase::executed);
    QSignalSpy failSpy(failing, &CommandBase::executed);
    ok->trigger();
    failing->trigger();
    QCOMPARE(ok->runs, 1);
    QCOMPARE(failing->runs, 1);
    QCOMPARE(okSpy.count(), 1);
    QCOMPARE(okSpy.at(0).at(0).toBool(), true);
    QCOMPARE(failSpy.at(0).at(0).toBool(), false);
}

void TestCommands::disabledCommandDoesNotRun()
{
    CountingCommand command(nullptr);
    QVERIFY(!command.getViewController());
    command.setEnabled(false);
    command.onTriggered();
    QCOMPARE(command.runs, 0);
    command.setEnabled(true);
    command.onTriggered();
    QCOMPARE(command.runs, 1);
}

void TestCommands::commandNameIsTheClassName()
{
    CountingCommand command(nullptr);
    QCOMPARE(command.getCommandName(), QStringLiteral("CountingCommand"));
    QVERIFY(command.hasCommand(QStringLiteral("CountingCommand")));
    QVERIFY(!command.hasCommand(QStringLiteral("Other")));
    QVERIFY(!command.hasCommand(QString()));
    QVERIFY(!command.isToggleCommand());
    command.setCheckable(true);
    QVERIFY(command.isToggleCommand());
}

void TestCommands::stateChangesReachObservers()
{
    CountingCommand command(nullptr);
    StateRecorder recorder;
    command.addObserver(&recorder);

    command.setEnabled(false);
    QCOMPARE(recorder.changes.size(), 1);
    QCOMPARE(recorder.changes.at(0), &command);
    command.setVisible(false);
    QCOMPARE(recorder.changes.size(), 2);
    command.setIsPaidFeature(true);
    QCOMPARE(recorder.changes.size(), 3);
    QVERIFY(command.isPaidFeature());
    // Setting the same value again is no change.
    command.setIsPaidFeature(true);
    command.setEnabled(false);
    QCOMPARE(recorder.changes.size(), 3);

    {
        StateRecorder gone;
        command.addObserver(&gone);
    }
    command.setText(QStringLiteral("Renamed")); // must not call the destroyed observer
    QCOMPARE(recorder.changes.size(), 4);
}

void TestCommands::groupOrdersByPositionThenArrival()
{
    CommandGroup group(nullptr, QStringLiteral("Tools"));
    auto* trailingA = new NamedCommand(nullptr, QStringLiteral("trailingA"));
    auto* leading = new NamedCommand(nullptr, QStringLiteral("leading"));
    auto* trailingB = new NamedCommand(nullptr, QStringLiteral("trailingB"));
    auto* main = new NamedCommand(nullptr, QStringLiteral("main"));
    QSignalSpy changed(&group, &CommandGroup::commandsChanged);

    QCOMPARE(group.addCommand(trailingA, CommandGroup::PositionTrailing), trailingA);
    QCOMPARE(group.addCommand(leading, CommandGroup::PositionLeading), leading);
    QCOMPARE(group.addCommand(trailingB, CommandGroup::PositionTrailing), trailingB);
    QCOMPARE(group.addCommand(main, CommandGroup::PositionMain), main);
    QCOMPARE(changed.count(), 4);

    QStringList names;
    for (CommandBase* c : group.commands())
        names << c->getCommandName();
    QCOMPARE(names, QStringList({"leading", "main", "trailingA", "trailingB"}));

    QCOMPARE(group.addCommand(main, CommandGroup::PositionLeading), nullptr);
    QCOMPARE(group.addCommand(nullptr, 0), nullptr);
    QCOMPARE(group.positionOf(main), int(CommandGroup::PositionMain));
    QCOMPARE(group.getCommandName(), QStringLiteral("Tools"));
    QVERIFY(group.hasCommand(QStringLiteral("trailingB")));
    QVERIFY(!group.hasCommand(QStringLiteral("missing")));
}

void TestCommands::groupOwnsAndForgetsDeletedMembers()
{
    QPointer<CommandBase> member;
    {
        CommandGroup group(nullptr);
        member = group.addCommand(new NamedCommand(nullptr, QStringLiteral("a")), 0);
        auto* other = group.addCommand(new NamedCommand(nullptr, QStringLiteral("b")), 0);
        QCOMPARE(member->parent(), &group);
        QSignalSpy changed(&group, &CommandGroup::commandsChanged);
        delete other;
        QCOMPARE(group.commands().size(), 1);
        QCOMPARE(changed.count(), 1);

        QVERIFY(group.removeCommand(member));
        QVERIFY(!group.removeCommand(member));
        QVERIFY(group.commands().isEmpty());
        QVERIFY(!member->parent());
        group.addCommand(member, 1);
    }
    // Deleting the group deleted what it owned.
    QVERIFY(member.isNull());
}

void TestCommands::managerFlattensGroupsAndNotifies()
{
    CmdsViewController controller;
    QCOMPARE(controller.getCmdMgr(), static_cast<CmdMgr*>(&controller));
    QSignalSpy changed(&controller, &CmdsViewController::commandsChanged);

    auto* single = new NamedCommand(&controller, QStringLiteral("single"));
    auto* group = new CommandGroup(&controller, QStringLiteral("group"));
    QVERIFY(controller.addCommand(single));
    QVERIFY(!controller.addCommand(single));
    QVERIFY(!controller.addCommand(nullptr));
    QVERIFY(single->isAddedToCmdsVC());
    QVERIFY(controller.addCommand(group));
    QCOMPARE(changed.count(), 2);

    // A member added to a group already in the manager is a change too.
    group->addCommand(new NamedCommand(nullptr, QStringLiteral("inner")), CommandGroup::PositionTrailing);
    QCOMPARE(changed.count(), 3);

    QCOMPARE(controller.commands().size(), 2);
    QStringList flat;
    for (CommandBase* c : controller.flattenedCommands())
        flat << c->getCommandName();
    QCOMPARE(flat, QStringList({"single", "inner"}));
    QCOMPARE(controller.findCommand(QStringLiteral("inner"))->getCommandName(), QStringLiteral("inner"));
    QCOMPARE(controller.findCommand(QStringLiteral("group")), group);
    QVERIFY(!controller.findCommand(QStringLiteral("nothing")));

    QVERIFY(controller.removeCommand(single));
    QVERIFY(!single->isAddedToCmdsVC());
    QCOMPARE(changed.count(), 4);
    delete group;
    QVERIFY(controller.commands().isEmpty());
}

void TestCommands::toolStackActivatesTopOnly()
{
    RecordingTools tools;
    tools.pushTool(QStringLiteral("select"));
    tools.pushTool(QStringLiteral("measure"));
    tools.pushTool(QStringLiteral("measure")); // already active: nothing happens
    QCOMPARE(tools.activeTool(), QStringLiteral("measure"));
    QCOMPARE(tools.events, QStringList({"+select", "-select", "+measure"}));

    tools.events.clear();
    QCOMPARE(tools.popTool(), QStringLiteral("measure"));
    QCOMPARE(tools.events, QStringList({"-measure", "+select"}));

    tools.pushTool(QStringLiteral("zoom"));
    tools.pushTool(QStringLiteral("pan"));
    QVERIFY(tools.removeTool(QStringLiteral("zoom")));
    QCOMPARE(tools.tools(), QStringList({"select"}));
    QVERIFY(!tools.removeTool(QStringLiteral("zoom")));
    tools.clearTools();
    QVERIFY(tools.activeTool().isEmpty());
    QVERIFY(tools.popTool().isEmpty());
}

void TestCommands::responderChainStopsAtHandlerAndSurvivesLoops()
{
    Responder first(QStringLiteral("copy"));
    Responder second(QStringLiteral("paste"));
    Responder third(QStringLiteral("paste"));
    first.setNextResponder(&second);
    second.setNextResponder(&third);

    QCOMPARE(first.sendAction(QStringLiteral("paste")), &second);
    QVERIFY(third.asked.isEmpty());
    QCOMPARE(first.sendAction(QStringLiteral("copy")), &first);

    third.setNextResponder(&first); // a loop
    QCOMPARE(first.sendAction(QStringLiteral("unknown")), nullptr);
    QCOMPARE(first.asked.count(QStringLiteral("unknown")), 1);
}

void TestCommands::iconsResolveAndUnknownNamesGetPlaceholder()
{
    QtUiToolkit* toolkit = QtUiToolkit::Instance();
    QCOMPARE(toolkit, QtUiToolkit::Instance());
    QCOMPARE(toolkit->resolveIconPath(QStringLiteral("db_drone.png")), QStringLiteral(":/host/images/db_drone.png"));
    QCOMPARE(toolkit->resolveIconPath(QStringLiteral("ap_gcp")), QStringLiteral(":/host/images/ap_gcp.png"));
    QVERIFY(toolkit->resolveIconPath(QStringLiteral("no_such_icon.png")).isEmpty());

    const QImage drone = toolkit->getPixmap(QStringLiteral("db_drone.png"), QSize(32, 32)).toImage();
    QVERIFY(!drone.isNull());

    const QIcon missing = toolkit->getIcon(QStringLiteral("no_such_icon.png"));
    QVERIFY(!missing.isNull());
    const QImage placeholder = missing.pixmap(32, 32).toImage();
    QVERIFY(!placeholder.isNull());
    QVERIFY(placeholder != drone.convertToFormat(placeholder.format()));
}

QTEST_MAIN(TestCommands)
#include "tst_commands.moc"
