#pragma once

#include <QObject>

namespace tessoly {

// Whether the welcome tour is showing.
class OnboardingState : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isShowing READ isShowing WRITE setShowing NOTIFY isShowingChanged)

public:
    using QObject::QObject;

    [[nodiscard]] bool isShowing() const { return m_isShowing; }
    void setShowing(bool showing)
    {
        if (showing == m_isShowing)
            return;
        m_isShowing = showing;
        emit isShowingChanged();
    }

signals:
    void isShowingChanged();

private:
    bool m_isShowing = false;
};

} // namespace tessoly
