#include "archive/TimelineBars.h"

#include <QQuickWindow>
#include <QTest>

namespace {

QVariantMap span(qint64 start, qint64 end)
{
    return {{"start", start}, {"end", end}};
}

} // namespace

/// What is drawn, on a window of a hundred pixels over a hundred seconds.
class TimelineBarsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL); }

    void draws()
    {
        QQuickWindow window;
        window.resize(100, 20);
        window.setColor(Qt::black);
        TimelineBars bars(window.contentItem());
        bars.setSize({100, 20});
        bars.setColor(Qt::blue);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(drawn(window), "          ");

        bars.setViewEnd(100'000);
        bars.setSpans({span(0, 20'000), span(45'000, 45'100), span(60'000, 1'000'000), span(90'000, 30'000),
            "nonsense"});
        QCOMPARE(drawn(window), "##  - ####");
        bars.setViewStart(-100'000);
        QCOMPARE(drawn(window), "     #  ##");
        bars.setViewStart(100'000);
        QCOMPARE(drawn(window), "          ");
        bars.setViewStart(0);
        bars.setViewEnd(10'000);
        QCOMPARE(drawn(window), "##########");
        bars.setViewEnd(qQNaN());
        bars.setViewStart(-qInf());
        QCOMPARE(drawn(window), "          ");
        bars.setViewStart(0);
        bars.setViewEnd(10'000);
        bars.setSpans({});
        QCOMPARE(drawn(window), "          ");
    }

private:
    // Ten columns of the picture: ' ' for nothing, '#' for recorded, '-' for something paler.
    static QString drawn(QQuickWindow &window)
    {
        const QImage picture = window.grabWindow();
        QString line;
        for (int x = 5; x < 100; x += 10) {
            const int blue = picture.pixelColor(x, 10).blue();
            line += blue == 0 ? QChar(' ') : blue > 250 ? QChar('#') : QChar('-');
        }
        return line;
    }
};

QTEST_MAIN(TimelineBarsTest)
#include "tst_TimelineBars.moc"
