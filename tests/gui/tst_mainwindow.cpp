#include "support/TestMain.h"

#include "app/MainWindow.h"

class TestMainWindow : public TestBase
{
    Q_OBJECT

private slots:
    void theWindowHasItsFixedSize();
};

void TestMainWindow::theWindowHasItsFixedSize()
{
    const MainWindow window;
    QCOMPARE(window.minimumSize(), QSize(960, 724));
    QCOMPARE(window.maximumSize(), QSize(960, 724));
}

ZEL_GUI_TEST_MAIN(TestMainWindow)

#include "tst_mainwindow.moc"
