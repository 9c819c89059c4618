// The texts of the cluster page: nodes, metrics, remote access, display and storage.
AdminTexts {
    readonly property string clusterTitle: t("Кластер", "Cluster")
    readonly property string clusterThisNode: t("этот узел", "this node")
    readonly property string clusterEmpty: t("Узлов нет", "No nodes")
    readonly property string clusterDetailsHint: t("Нажмите для подробностей", "Click for details")
    readonly property string clusterMetrics: t("Метрики", "Metrics")
    readonly property string clusterMetricsUnavailable: t("Метрики недоступны", "Metrics unavailable")
    readonly property string metricCpu: t("Процессор", "CPU")
    readonly property string metricRam: t("Память", "RAM")
    readonly property string metricDiskIo: t("Диск", "Disk I/O")
    readonly property string metricNetwork: t("Сеть", "Network")
    readonly property string metricCapture: t("Захват", "Capture")
    readonly property string metricCaptureBitrate: t("Битрейт захвата", "Capture bitrate")
    readonly property string metricStreaming: t("Трансляция", "Streaming")
    readonly property string metricProcess: t("Процесс", "Process")
    readonly property string metricRecording: t("запись", "recording")
    readonly property string metricErrors: t("ошибки", "errors")
    readonly property string metricOffline: t("не в сети", "offline")
    readonly property string metricSessions: t("сеансов", "sessions")

    readonly property string remoteAccessTitle: t("Удалённый доступ", "Remote Access")
    readonly property string remoteAccessStatusConnected: t("Подключён", "Connected")
    readonly property string remoteAccessStatusConnecting: t("Подключение...", "Connecting...")
    readonly property string remoteAccessStatusDisabled: t("Выключен", "Disabled")
    readonly property string remoteAccessStatusNotConfigured: t("Не настроен", "Not configured")
    readonly property string remoteAccessEnable: t("Включить", "Enable")
    readonly property string remoteAccessDisable: t("Выключить", "Disable")
    readonly property string remoteAccessUrl: t("Публичный адрес", "Public URL")
    readonly property string remoteAccessCopy: t("Копировать", "Copy")
    readonly property string remoteAccessCopied: t("Скопировано", "Copied")
    readonly property string remoteAccessNotConfiguredHint: t(
        "Задайте ZORVEL_RELAY_URL на сервере, чтобы использовать удалённый доступ.",
        "Set ZORVEL_RELAY_URL on the server to use remote access.")
    readonly property string remoteAccessLocalOnlyHint: t(
        "Отключить удалённый доступ можно только с локального подключения.",
        "Remote access can only be disabled from a local connection.")

    readonly property string stretchVideoLabel: t("Растягивать видео в сетке", "Stretch video in grid")
    readonly property string stretchVideoHint: t(
        "Заполнять ячейку целиком, не сохраняя пропорции изображения.",
        "Fill the whole cell, ignoring the image aspect ratio.")

    readonly property string storageTitle: t("Хранилище", "Storage")
    readonly property string storageFree: t("свободно", "free")
    readonly property string storageRemove: t("Убрать", "Remove")
    readonly property string storageNoPaths: t("Пути хранения не заданы", "No storage paths")
    readonly property string storageNoDisks: t("Свободных дисков нет", "No disks available")
    readonly property string storageSelectDisk: t("Выберите диск", "Select a disk")
    readonly property string storageAddPath: t("Добавить путь", "Add path")
    readonly property string storageRetention: t("Срок хранения", "Retention")
    readonly property string retentionDays: t("Хранить, дней", "Keep, days")
    readonly property string minFreePercent: t("Минимум свободного места, %", "Minimum free space, %")
    readonly property string storageSave: t("Сохранить", "Save")
}
