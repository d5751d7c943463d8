#pragma once

#include <QString>
#include <QStringList>

namespace Zyn {
namespace UiBase {

// Told when the active tool of a ToolStack changes.
class ToolStateProtocol {
public:
    virtual ~ToolStateProtocol() = default;
    virtual void onToolActivated(const QString& tool) { (void)tool; }
    virtual void onToolDeactivated(const QString& tool) { (void)tool; }
};

// The interactive tools of a view; only the top one is active. Pushing a
// tool deactivates the one below until it is popped again.
class ToolStack : public ToolStateProtocol {
public:
    ~ToolStack() override = default;

    void pushTool(const QString& tool);
    // Pops the active tool; answers it (empty when the stack was empty).
    QString popTool();
    // Pops down to and including tool, if it is on the stack.
    bool removeTool(const QString& tool);
    void clearTools();

    QString activeTool() const;
    QStringList tools() const { return m_tools; }

private:
    QStringList m_tools;
};

} // namespace UiBase
} // namespace Zyn
