#include "app/HeapPolicy.h"

#include <QTest>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <malloc.h>

namespace {

constexpr std::size_t megabyte = 1 << 20;

} // namespace

class HeapPolicyTest : public QObject
{
    Q_OBJECT

private slots:
    // Streams are looked at in blocks of one size and large frames have others: each request gets all it asks
    // for, aligned, and may be freed as usual.
    void preparedBlocksFitTheRequest()
    {
        for (const std::size_t size : {10, 10, 12, 12, 9, 12, 10, 1, 10}) {
            void *block = nullptr;
            QCOMPARE(posix_memalign(&block, 64, size * megabyte), 0);
            QVERIFY(reinterpret_cast<std::uintptr_t>(block) % 64 == 0);
            QVERIFY2(malloc_usable_size(block) >= size * megabyte, qPrintable(QString::number(size)));
            std::memset(block, 1, size * megabyte);
            if (size != 12)
                prepareLargeBlock();
            std::free(block);
        }
    }
};

QTEST_GUILESS_MAIN(HeapPolicyTest)
#include "tst_HeapPolicy.moc"
