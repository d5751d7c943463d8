#pragma once

namespace Zyn {
namespace UiBase {

class BaseViewController;

// A delegate that presents view controllers for another one (e.g. the
// dashboard presenting panels for the views inside it).
class PresentViewProtocol {
public:
    virtual ~PresentViewProtocol() = default;
    virtual void presentView(BaseViewController* controller, int direction) = 0;
    virtual void dismissView(BaseViewController* controller) = 0;
};

} // namespace UiBase
} // namespace Zyn
