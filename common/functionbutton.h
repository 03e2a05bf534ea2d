// The program's one push button. Making one also sets the look of every button in the program.
#pragma once

#include <QPushButton>

class FunctionButton : public QPushButton {
    Q_OBJECT
public:
    explicit FunctionButton(const QString &text, QWidget *parent = nullptr);
    explicit FunctionButton(QWidget *parent = nullptr);

    // The application-wide button style that every FunctionButton sets.
    static const QString StyleSheet;

private:
    void init();
};
