#include "support/TestMain.h"

#include "client/ConfigBin.h"

class TestConfigBin : public TestBase
{
    Q_OBJECT

private slots:
    void aMissingFileLoadsTheDefaults();
};

void TestConfigBin::aMissingFileLoadsTheDefaults()
{
    ClientConfig config;
    QVERIFY(ConfigBin::load(QStringLiteral("/nonexistent/Config.bin"), &config, nullptr));
    QCOMPARE(config.raw, QList<short>({7000, 3, 2, 0, 0, -1, 57, 2, 1, 1, 1, 0, 0, 0, 1}));
}

ZEL_TEST_MAIN(TestConfigBin)

#include "tst_configbin.moc"
