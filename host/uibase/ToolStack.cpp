#include "ToolStack.h"

namespace Zyn {
namespace UiBase {

void ToolStack::pushTool(const QString& tool)
{
    if (tool.isEmpty() || activeTool() == tool)
        return;
    const QString previous = activeTool();
    m_tools.removeAll(tool);
    m_tools << tool;
    if (!previous.isEmpty())
        onToolDeactivated(previous);
    onToolActivated(tool);
}

QString ToolStack::popTool()
{
    if (m_tools.isEmpty())
        return QString();
    const QString tool = m_tools.takeLast();
    onToolDeactivated(tool);
    if (!m_tools.isEmpty())
        onToolActivated(m_tools.last());
    return tool;
}

bool ToolStack::removeTool(const QString& tool)
{
    if (!m_tools.contains(tool))
        return false;
    while (!m_tools.isEmpty()) {
        if (popTool() == tool)
            break;
    }
    return true;
}

void ToolStack::clearTools()
{
    while (!m_tools.isEmpty())
        popTool();
}

QString ToolStack::activeTool() const
{
    return m_tools.isEmpty() ? QString() : m_tools.last();
}

} // namespace UiBase
} // namespace Zyn
