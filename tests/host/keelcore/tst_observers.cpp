#include <keelcore/Broadcaster.h>
#include <keelcore/SharedObject.h>

#include <QtTest>

#include <memory>

namespace {

class Listener {
public:
    virtual ~Listener() = default;
    virtual void notify() = 0;
};

// Each observer writes into a log owned by the test, so a call to an
// observer that should be gone shows up in the log (and, under ASan, as a
// use after free).
class SharedListener : public Listener, public KeelCore::SharedObject<SharedListener> {
public:
    SharedListener(QString name, QStringList* log) : m_name(std::move(name)), m_log(log) {}
    void notify() override { *m_log << m_name; }

private:
    QString m_name;
    QStringList* m_log;
};

class QObjectListener : public QObject, public Listener {
public:
    QObjectListener(QString name, QStringList* log) : m_name(std::move(name)), m_log(log) {}
    void notify() override { *m_log << m_name; }

private:
    QString m_name;
    QStringList* m_log;
};

class PlainListener : public Listener {
public:
    void notify() override { ++calls; }
    int calls = 0;
};

using Source = KeelCore::Broadcaster<Listener>;

void notifyAll(Source& source)
{
    source.broadcast([](Listener* l) { l->notify(); });
}

} // namespace

class TestObservers : public QObject {
    Q_OBJECT

private slots:
    void weakRefFollowsTheObjectsLife()
    {
        QStringList log;
        auto shared = std::make_unique<SharedListener>("a", &log);
        KeelCore::WeakRef<SharedListener> ref = shared->weakRef();
        KeelCore::WeakRef<SharedListener> copy = ref;
        KeelCore::WeakRef<Listener> tracked = KeelCore::makeWeak(static_cast<Listener*>(shared.get()));
        QCOMPARE(ref.lock(), shared.get());
        QVERIFY(!ref.expired() && bool(tracked));
        shared.reset();
        QVERIFY(ref.expired() && !ref && !tracked);
        QCOMPARE(copy.lock(), nullptr);
        QCOMPARE(tracked.lock(), nullptr);
        QVERIFY(KeelCore::WeakRef<SharedListener>().expired());

        // Untracked objects count as living as long as the reference.
        PlainListener plain;
        QCOMPARE(KeelCore::makeWeak(&plain).lock(), &plain);
        QVERIFY(KeelCore::makeWeak<PlainListener>(nullptr).expired());
    }

    void broadcastReachesObserversInOrderOnce()
    {
        QStringList log;
        SharedListener a("a", &log);
        QObjectListener b("b", &log);
        SharedListener c("c", &log);
        Source source;
        source.addObserver(&a);
        source.addObserver(&b);
        source.addObserver(&c);
        source.addObserver(&a); // already there
        source.addObserver(nullptr);
        QCOMPARE(source.observerCount(), 3);
        notifyAll(source);
        QCOMPARE(log, (QStringList{"a", "b", "c"}));

        source.removeObserver(&b);
        notifyAll(source);
        QCOMPARE(log, (QStringList{"a", "b", "c", "a", "c"}));
    }

    void destroyedObserversAreSkippedAndForgotten()
    {
        QStringList log;
        Source source;
        auto* shared = new SharedListener(QStringLiteral("shared"), &log);
        auto* qobject = new QObjectListener(QStringLiteral("qobject"), &log);
        SharedListener survivor(QStringLiteral("survivor"), &log);
        source.addObserver(shared);
        source.addObserver(qobject);
        source.addObserver(&survivor);
        delete shared;
        delete qobject;
        QCOMPARE(source.observerCount(), 1);
        notifyAll(source);
        QCOMPARE(log, QStringList{"survivor"});
    }

    void observerDestroyedDuringBroadcastIsNotCalled()
    {
        QStringList log;
        Source source;
        auto* victim = new SharedListener(QStringLiteral("victim"), &log);

        class Killer : public Listener, public KeelCore::SharedObject<Killer> {
        public:
            explicit Killer(SharedListener** target) : m_target(target) {}
            void notify() override
            {
                delete *m_target;
                *m_target = nullptr;
            }

        private:
            SharedListener** m_target;
        } killer(&victim);

        source.addObserver(&killer);
        source.addObserver(victim);
        notifyAll(source);
        QCOMPARE(victim, nullptr);
        QVERIFY(log.isEmpty());
        QCOMPARE(source.observerCount(), 1);
    }

    void observerAddedDuringBroadcastWaitsForTheNextOne()
    {
        QStringList log;
        Source source;
        SharedListener late(QStringLiteral("late"), &log);

        class Adder : public Listener, public KeelCore::SharedObject<Adder> {
        public:
            Adder(Source* source, Listener* late) : m_source(source), m_late(late) {}
            void notify() override { m_source->addObserver(m_late); }

        private:
            Source* m_source;
            Listener* m_late;
        } adder(&source, &late);

        source.addObserver(&adder);
        notifyAll(source);
        QVERIFY(log.isEmpty());
        notifyAll(source);
        QCOMPARE(log, QStringList{"late"});
    }

    void delegatorForgetsADestroyedDelegate()
    {
        QStringList log;
        KeelCore::Delegator<Listener> delegator;
        QVERIFY(!delegator.callDelegate([](Listener* l) { l->notify(); }));

        auto* first = new SharedListener(QStringLiteral("first"), &log);
        delegator.setDelegate(first);
        QCOMPARE(delegator.getDelegate(), static_cast<Listener*>(first));
        QVERIFY(delegator.callDelegate([](Listener* l) { l->notify(); }));
        delete first;
        QCOMPARE(delegator.getDelegate(), nullptr);
        QVERIFY(!delegator.callDelegate([](Listener* l) { l->notify(); }));
        QCOMPARE(log, QStringList{"first"});

        QObjectListener second(QStringLiteral("second"), &log);
        delegator.setDelegate(&second);
        QVERIFY(delegator.callDelegate([](Listener* l) { l->notify(); }));
        delegator.setDelegate(nullptr);
        QVERIFY(!delegator.callDelegate([](Listener* l) { l->notify(); }));
        QCOMPARE(log, (QStringList{"first", "second"}));
    }
};

QTEST_GUILESS_MAIN(TestObservers)
#include "tst_observers.moc"
