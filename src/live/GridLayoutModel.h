#pragma once

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

// The slots of one video grid: which preset is current, which camera sits in which slot of each preset, which
// slot is shown alone, and how the cells of a preset are packed. Every video grid owns one; it is the only
// owner of this state and the view only forwards the operator's actions to it.
//
// A camera occupies at most one slot of an arrangement. Slot indices out of range and unknown presets are
// ignored. All state is consistent before the first change signal of an operation is emitted.
class GridLayoutModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString currentLayout READ currentLayout WRITE setCurrentLayout NOTIFY currentLayoutChanged)
    Q_PROPERTY(QStringList slotCameras READ slotCameras NOTIFY slotCamerasChanged)
    Q_PROPERTY(int masterSlot READ masterSlot NOTIFY currentLayoutChanged)
    Q_PROPERTY(int maximizedSlot READ maximizedSlot WRITE setMaximizedSlot NOTIFY maximizedSlotChanged)
    Q_PROPERTY(QVariantMap layoutSlots READ layoutSlots NOTIFY layoutSlotsChanged)
    Q_PROPERTY(int cells READ cells NOTIFY currentLayoutChanged)
    Q_PROPERTY(int cols READ cols NOTIFY currentLayoutChanged)
    Q_PROPERTY(int rows READ rows NOTIFY currentLayoutChanged)

public:
    explicit GridLayoutModel(QObject *parent = nullptr);

    // The active preset's name: "1x1", "2x2" (initially), "3x3", "4x4", "5x5", "8x8", "1+5", "1+7" or "2+8".
    // A preset in which no camera was ever placed starts, when it is chosen, with the cameras of the preset
    // being left, moved together to the front and cut at its size.
    QString currentLayout() const { return m_currentLayout; }
    void setCurrentLayout(const QString &layout);

    // One camera id per slot of the active preset, "" for an empty slot.
    QStringList slotCameras() const { return m_slotCameras; }

    // The first slot that spans more than one unit, -1 in the square presets.
    int masterSlot() const;

    // The slot shown alone, -1 for none. It returns to -1 when the preset changes or the slot loses its
    // camera.
    int maximizedSlot() const { return m_maximizedSlot; }
    void setMaximizedSlot(int index);

    // The arrangements to persist: preset name to its list of camera ids.
    QVariantMap layoutSlots() const;

    // Slots, grid columns and grid rows of the active preset.
    int cells() const { return layoutCells(m_currentLayout); }
    int cols() const { return layoutCols(m_currentLayout); }
    int rows() const { return layoutRows(m_currentLayout); }

    // Puts a camera into a slot of the active preset; its former slot there becomes empty. An empty id
    // clears.
    Q_INVOKABLE void assignSlot(int index, const QString &cameraId);
    Q_INVOKABLE void assignSlotExclusive(int index, const QString &cameraId);
    // Puts a camera into the first free slot unless it is placed already. Returns whether it is in the active
    // preset afterwards: false means that no slot was free and nothing changed.
    Q_INVOKABLE bool assignNextSlot(const QString &cameraId);
    Q_INVOKABLE void clearSlot(int index);
    Q_INVOKABLE void swapSlots(int fromIndex, int toIndex);
    // The camera id in a slot of the active preset, "" when it is empty or out of range.
    Q_INVOKABLE QString slotAt(int index) const;
    // The cameras of the active preset in slot order.
    Q_INVOKABLE QStringList activeCameras() const;

    // Replaces every arrangement and the preset from persisted state. What does not fit is left out: unknown
    // presets, entries that are not texts, entries beyond the preset's size, a camera's second slot; an
    // unknown `layout` keeps the current preset.
    Q_INVOKABLE void restore(const QVariantMap &layoutSlots, const QString &layout);
    // Empties every slot, in all presets, whose camera is not among `knownIds`.
    Q_INVOKABLE void pruneMissing(const QStringList &knownIds);

    // Slots, columns and rows of a preset; 0 for an unknown one.
    Q_INVOKABLE int layoutCells(const QString &layout) const;
    Q_INVOKABLE int layoutCols(const QString &layout) const;
    Q_INVOKABLE int layoutRows(const QString &layout) const;
    // One map per slot of a preset with "row", "col", "rowSpan" and "colSpan" in grid units.
    Q_INVOKABLE QVariantList cellLayout(const QString &layout) const;

signals:
    void currentLayoutChanged();
    void slotCamerasChanged();
    void maximizedSlotChanged();
    void layoutSlotsChanged();

private:
    struct State;
    State state() const;
    void finish(const State &before);
    void setSlotCameras(const QStringList &slotCameras);

    QString m_currentLayout;
    QStringList m_slotCameras;
    int m_maximizedSlot = -1;
    QHash<QString, QStringList> m_arrangements;
};
