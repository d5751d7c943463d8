#pragma once

#include <QString>

namespace Zyn {
namespace UiBase {

// A link in the responder chain: an action not handled by a responder is
// offered to its next responder.
class ViewResponder {
public:
    virtual ~ViewResponder() = default;

    // Answers whether the action was handled here.
    virtual bool respondToAction(const QString& action) { (void)action; return false; }
    virtual ViewResponder* nextResponder() const { return m_next; }
    void setNextResponder(ViewResponder* next) { m_next = next; }

    // Walks the chain from this responder; answers the responder that
    // handled the action, or nullptr.
    ViewResponder* sendAction(const QString& action);

private:
    ViewResponder* m_next = nullptr;
};

} // namespace UiBase
} // namespace Zyn
