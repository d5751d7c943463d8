// Commands, groups, the command manager, tool stack, responder chain and
// the icon set.
#include <uibase/CmdsViewController.h>
#include <uibase/CommandBase.h>
#include <uibase/CommandGroup.h>
#include <uibase/QtUiToolkit.h>
#include <uibase/ToolStack.h>
#include <uibase/ViewResponder.h>

#include <QtTest>

using namespace Zyn::UiBase;

namespace {

// Named name, else by its class; counts its runs and answers result.
class TestCommand : public CommandBase {
    Q_OBJECT
public:
    explicit TestCommand(CmdsViewController* owner, const QString& name = QString(), bool result = true)
        : CommandBase(owner), m_name(name), m_result(result)
    {
    }
    QString getCommandName() const override { return m_name.isEmpty() ? CommandBase::getCommandName() : m_name; }
    bool execute() override
    {
        ++runs;
        return m_result;
    }
    int runs = 0;

private:
    QString m_name;
    bool m_result;
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
    explicit Responder(const QString& handles) : m_handles(handles) {}
    bool respondToAction(const QString& action) override
    {
        asked << action;
        return action == m_handles;
    }
    QStringList asked;

private:
    QString m_handles;
};

QStringList names(const QList<CommandBase*>& commands)
{
    QStringList out;
    for (CommandBase* c : commands)
        out << c->getCommandName();
    return out;
}

} // namespace

class TestCommands : public QObject {
    Q_OBJECT
private slots:
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
};

QTEST_MAIN(TestCommands)
#include "tst_commands.moc"
