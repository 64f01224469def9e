#include "phrases.h"

#include <string.h>

static const char *const codes[LANGUAGES] = {"en", "de", "el", "ru", "ja", "ko", "zh"};

/* clang-format off: a phrase per line or two. */
static const char *const phrases[PHRASES][LANGUAGES] = {
    /* pages */
    [PHRASE_MENU] = {"Menu", "Menü", "Μενού", "Меню", "メニュー", "메뉴", "菜单"},
    [PHRASE_PLAYBACK] = {"Playback", "Wiedergabe", "Προβολή", "Просмотр", "再生", "재생", "回放"},
    [PHRASE_PHOTOS] = {"Photos", "Fotos", "Φωτογραφίες", "Фото", "写真", "사진", "照片"},
    [PHRASE_JOURNEY] = {"Journey", "Reise", "Ταξίδι", "Поездка", "旅程", "여정", "行程"},
    [PHRASE_SENSOR] = {"Sensors", "Sensoren", "Αισθητήρες", "Датчики", "センサー", "센서", "传感器"},
    [PHRASE_CARD] = {"Memory card", "SD-Karte", "Κάρτα SD", "SD-карта", "SDカード", "메모리 카드", "存储卡"},
    [PHRASE_SETTINGS] = {"Settings", "Einstellungen", "Ρυθμίσεις", "Настройки", "設定", "설정", "设置"},
    [PHRASE_SYSTEM] = {"System", "System", "Σύστημα", "Система", "システム", "시스템", "系统"},
    [PHRASE_POWER_OFF] = {"Power off", "Ausschalten", "Κλείσιμο", "Выключить", "電源オフ", "전원 끄기",
                          "关机"},

    /* settings */
    [PHRASE_BRIGHTNESS] = {"Brightness", "Helligkeit", "Φωτεινότητα", "Яркость", "明るさ", "밝기", "亮度"},
    [PHRASE_SOUND] = {"Sound", "Ton", "Ήχος", "Звук", "サウンド", "소리", "声音"},
    [PHRASE_VOLUME] = {"Volume", "Lautstärke", "Ένταση", "Громкость", "音量", "음량", "音量"},
    [PHRASE_MUTE] = {"Mute", "Stumm", "Σίγαση", "Без звука", "ミュート", "음소거", "静音"},
    [PHRASE_MICROPHONE] = {"Microphone", "Mikrofon", "Μικρόφωνο", "Микрофон", "マイク", "마이크", "麦克风"},
    [PHRASE_THEME] = {"Colour", "Farbe", "Χρώμα", "Цвет", "カラー", "색상", "颜色"},
    [PHRASE_LANGUAGE] = {"Language", "Sprache", "Γλώσσα", "Язык", "言語", "언어", "语言"},
    [PHRASE_LANGUAGE_NAME] = {"English", "Deutsch", "Ελληνικά", "Русский", "日本語", "한국어", "中文"},
    [PHRASE_GREETING] = {"Have a good trip", "Gute Fahrt", "Καλό ταξίδι", "Счастливого пути", "よい旅を",
                         "즐거운 여행 되세요", "一路平安"},
    [PHRASE_CLOCK] = {"Clock", "Uhr", "Ρολόι", "Время", "時計", "시계", "时钟"},
    [PHRASE_HOUR] = {"Hour", "Stunde", "Ώρα", "Часы", "時", "시", "时"},
    [PHRASE_MINUTE] = {"Minute", "Minute", "Λεπτό", "Минуты", "分", "분", "分"},
    [PHRASE_IMPACT_SENSOR] = {"Impact sensor", "Aufprallsensor", "Αισθητήρας κρούσης", "Датчик удара",
                              "衝撃センサー", "충격 센서", "碰撞传感器"},
    [PHRASE_LOW] = {"Low", "Niedrig", "Χαμηλή", "Низкая", "低", "낮음", "低"},
    [PHRASE_MEDIUM] = {"Medium", "Mittel", "Μέτρια", "Средняя", "中", "보통", "中"},
    [PHRASE_HIGH] = {"High", "Hoch", "Υψηλή", "Высокая", "高", "높음", "高"},
    [PHRASE_ON] = {"On", "Ein", "Ναι", "Вкл.", "オン", "켜짐", "开"},
    [PHRASE_OFF] = {"Off", "Aus", "Όχι", "Выкл.", "オフ", "꺼짐", "关"},

    /* recordings */
    [PHRASE_RECORDINGS] = {"Recordings", "Aufnahmen", "Εγγραφές", "Записи", "録画", "녹화", "录像"},
    [PHRASE_EVENTS] = {"Events", "Ereignisse", "Συμβάντα", "События", "イベント", "이벤트", "事件"},
    [PHRASE_EVENT] = {"Event", "Ereignis", "Συμβάν", "Событие", "イベント", "이벤트", "事件"},
    [PHRASE_NO_RECORDINGS] = {"No recordings", "Keine Aufnahmen", "Δεν υπάρχουν εγγραφές", "Записей нет",
                              "録画がありません", "녹화 없음", "没有录像"},
    [PHRASE_NO_PICTURES] = {"Cannot be played", "Nicht abspielbar", "Αδύνατη η προβολή", "Не воспроизводится",
                            "再生できません", "재생할 수 없음", "无法播放"},
    [PHRASE_PLAY] = {"Play", "Abspielen", "Προβολή", "Смотреть", "再生", "재생", "播放"},
    [PHRASE_PAUSE] = {"Pause", "Pause", "Παύση", "Пауза", "一時停止", "일시 정지", "暂停"},
    [PHRASE_PROTECT] = {"Protect", "Schützen", "Κλείδωμα", "Защитить", "保護", "보호", "保护"},
    [PHRASE_RELEASE] = {"Unprotect", "Freigeben", "Ξεκλείδωμα", "Снять защиту", "保護解除", "해제",
                        "取消保护"},
    [PHRASE_DELETE] = {"Delete", "Löschen", "Διαγραφή", "Удалить", "削除", "삭제", "删除"},
    [PHRASE_DELETE_QUESTION] = {"Delete the recording?", "Aufnahme löschen?", "Διαγραφή της εγγραφής;",
                                "Удалить запись?", "録画を削除しますか？", "녹화를 삭제할까요？",
                                "删除这段录像？"},
    [PHRASE_DELETE_REMARK] = {"It cannot be restored.", "Sie ist dann verloren.",
                              "Δεν θα μπορεί να ανακτηθεί.", "Её нельзя будет вернуть.", "元に戻せません。",
                              "되돌릴 수 없습니다.", "删除后无法恢复。"},

    /* the memory card */
    [PHRASE_REPAIR] = {"Repair", "Reparieren", "Επισκευή", "Исправить", "修復", "복구", "修复"},
    [PHRASE_FORMAT] = {"Format", "Formatieren", "Διαμόρφωση", "Очистить", "初期化", "포맷", "格式化"},
    [PHRASE_REPAIR_QUESTION] = {"Repair the card?", "Karte reparieren?", "Επισκευή της κάρτας;",
                                "Исправить карту?", "カードを修復しますか？", "카드를 복구할까요？",
                                "修复存储卡？"},
    [PHRASE_FORMAT_QUESTION] = {"Format the card?", "Karte formatieren?", "Διαμόρφωση της κάρτας;",
                                "Очистить карту?", "カードを初期化しますか？", "카드를 포맷할까요？",
                                "格式化存储卡？"},
    [PHRASE_REPAIR_REMARK] = {"Recording pauses briefly.", "Die Aufnahme pausiert kurz.",
                              "Σύντομη διακοπή εγγραφής.", "Запись ненадолго прервётся.",
                              "録画が一時停止します。", "녹화가 잠시 중단됩니다.", "录像将暂停片刻。"},
    [PHRASE_FORMAT_REMARK] = {"All recordings will be lost.", "Alle Aufnahmen gehen verloren.",
                              "Όλες οι εγγραφές θα χαθούν.", "Все записи будут потеряны.",
                              "録画はすべて消去されます。", "모든 녹화가 삭제됩니다.", "所有录像都会丢失。"},
    [PHRASE_PLEASE_WAIT] = {"Please wait", "Bitte warten", "Παρακαλώ περιμένετε", "Подождите",
                            "お待ちください", "기다려 주세요", "请稍候"},
    [PHRASE_YES] = {"Yes", "Ja", "Ναι", "Да", "はい", "예", "是"},
    [PHRASE_NO] = {"No", "Nein", "Όχι", "Нет", "いいえ", "아니요", "否"},
    [PHRASE_FREE] = {"free", "frei", "ελεύθερα", "свободно", "空き", "사용 가능", "可用"},
    [PHRASE_TOTAL] = {"of", "von", "από", "из", "全体", "전체", "共"},
    [PHRASE_UNKNOWN_FORMAT] = {"Unknown format", "Unbekanntes Format", "Άγνωστη μορφή", "Неизвестный формат",
                               "不明な形式", "알 수 없는 형식", "未知格式"},
    [PHRASE_INSERT_CARD] = {"Insert a card", "Karte einlegen", "Τοποθετήστε κάρτα", "Вставьте карту",
                            "カードを挿入", "카드를 넣으세요", "请插入存储卡"},
    [PHRASE_INSERTED] = {"Inserted", "Eingelegt", "Στη θέση της", "Вставлена", "挿入済み", "삽입됨",
                         "已插入"},
    [PHRASE_UNLOCKED] = {"Unlocked", "Entsperrt", "Ξεκλείδωτη", "Не защищена", "ロック解除", "잠금 해제",
                         "未锁定"},
    [PHRASE_PARTITION] = {"Partition", "Partition", "Διαμέρισμα", "Раздел", "パーティション", "파티션",
                          "分区"},
    [PHRASE_MOUNTED] = {"Mounted", "Eingebunden", "Συνδεδεμένη", "Подключена", "マウント済み", "마운트됨",
                        "已挂载"},
    [PHRASE_WRITABLE] = {"Writable", "Beschreibbar", "Εγγράψιμη", "Для записи", "書き込み可", "쓰기 가능",
                         "可写入"},
    [PHRASE_CARD_READY] = {"Ready", "Bereit", "Έτοιμη", "Готова", "使用可能", "준비됨", "就绪"},
    [PHRASE_CARD_MISSING] = {"Card missing", "Karte fehlt", "Δεν υπάρχει κάρτα", "Нет карты",
                             "カードがありません", "카드 없음", "未插入存储卡"},
    [PHRASE_CARD_LOCKED] = {"Card locked", "Karte gesperrt", "Κλειδωμένη κάρτα", "Карта защищена",
                            "カードがロックされています", "카드 잠김", "存储卡已锁定"},
    [PHRASE_CARD_ERROR] = {"Card error", "Kartenfehler", "Σφάλμα κάρτας", "Ошибка карты", "カードエラー",
                           "카드 오류", "存储卡错误"},
    [PHRASE_CARD_FULL] = {"Card full", "Karte voll", "Η κάρτα είναι πλήρης", "Карта заполнена",
                          "カードの容量不足", "카드 가득 참", "存储卡已满"},

    /* the system */
    [PHRASE_PANEL] = {"Screen", "Bildschirm", "Οθόνη", "Экран", "画面", "화면", "屏幕"},
    [PHRASE_REGION] = {"Region", "Region", "Περιοχή", "Регион", "地域", "지역", "地区"},
    [PHRASE_WIFI] = {"Wi-Fi", "WLAN", "Wi-Fi", "Wi-Fi", "Wi-Fi", "Wi-Fi", "Wi-Fi"},
    [PHRASE_ETHERNET] = {"Ethernet", "Ethernet", "Ethernet", "Ethernet", "有線LAN", "유선 LAN", "以太网"},
    [PHRASE_TEMPERATURE] = {"Temperature", "Temperatur", "Θερμοκρασία", "Температура", "温度", "온도",
                            "温度"},
    [PHRASE_RUNNING] = {"Running for", "Läuft seit", "Σε λειτουργία", "Время работы", "稼働時間", "작동 시간",
                        "运行时间"},
    [PHRASE_NOT_SET] = {"not set", "nicht eingestellt", "δεν ορίστηκε", "не задан", "未設定", "설정 안 됨",
                        "未设置"},
    [PHRASE_NO_ADDRESS] = {"no address", "keine Adresse", "χωρίς διεύθυνση", "нет адреса", "アドレスなし",
                           "주소 없음", "无地址"},
    [PHRASE_NOT_PRESENT] = {"not present", "nicht vorhanden", "δεν υπάρχει", "отсутствует", "なし", "없음",
                            "不存在"},
    [PHRASE_CONNECTED] = {"connected", "verbunden", "συνδεδεμένο", "подключён", "接続中", "연결됨", "已连接"},
    [PHRASE_NOT_CONNECTED] = {"not connected", "nicht verbunden", "μη συνδεδεμένο", "не подключён", "未接続",
                              "연결 안 됨", "未连接"},
    [PHRASE_UNKNOWN] = {"unknown", "unbekannt", "άγνωστο", "неизвестно", "不明", "알 수 없음", "未知"},

    /* the journey */
    [PHRASE_PLACE] = {"Zurich", "Zürich", "Ζυρίχη", "Цюрих", "チューリッヒ", "취리히", "苏黎世"},
    [PHRASE_DESTINATION] = {"Destination", "Reiseziel", "Προορισμός", "Цель поездки", "目的地", "목적지",
                            "目的地"},

    /* notices */
    [PHRASE_RECORDING] = {"Recording", "Aufnahme läuft", "Γίνεται εγγραφή", "Идёт запись", "録画中",
                          "녹화 중", "正在录像"},
    [PHRASE_PARKING_MODE] = {"Parking mode", "Parkmodus", "Λειτουργία στάθμευσης", "Режим парковки",
                             "駐車モード", "주차 모드", "停车模式"},
    [PHRASE_HOT] = {"Too hot: recording paused", "Zu heiß: Aufnahme pausiert", "Υπερθέρμανση: παύση εγγραφής",
                    "Перегрев: запись прервана", "高温のため録画を中断", "과열: 녹화 일시 중지",
                    "温度过高：录像已暂停"},
    [PHRASE_IMPACT] = {"Impact: recording saved", "Aufprall: Aufnahme gesichert", "Κρούση: η εγγραφή σώθηκε",
                       "Удар: запись сохранена", "衝撃を検知：録画を保存", "충격 감지: 녹화 저장됨",
                       "检测到碰撞：录像已保存"},
    [PHRASE_PROTECTED] = {"Recording saved", "Aufnahme gesichert", "Η εγγραφή σώθηκε", "Запись сохранена",
                          "録画を保存しました", "녹화 저장됨", "录像已保存"},
    [PHRASE_MONITOR_ATTACHED] = {"Monitor connected", "Monitor verbunden", "Συνδέθηκε οθόνη",
                                 "Монитор подключён", "モニターを接続", "모니터 연결됨", "显示器已连接"},
    [PHRASE_MONITOR_REMOVED] = {"Monitor disconnected", "Monitor getrennt", "Αποσυνδέθηκε οθόνη",
                                "Монитор отключён", "モニターを切断", "모니터 연결 해제", "显示器已断开"},

    /* the end */
    [PHRASE_POWER_OFF_QUESTION] = {"Power off?", "Ausschalten?", "Κλείσιμο;", "Выключить?",
                                   "電源を切りますか？", "전원을 끌까요？", "确定关机？"},
    [PHRASE_POWER_OFF_REMARK] = {"Recording will stop.", "Die Aufnahme endet.", "Η εγγραφή θα σταματήσει.",
                                 "Запись остановится.", "録画を終了します。", "녹화가 종료됩니다.",
                                 "录像将停止。"},
    [PHRASE_GOODBYE] = {"Goodbye", "Auf Wiedersehen", "Αντίο", "До свидания", "さようなら", "안녕히 가세요",
                        "再见"},
    [PHRASE_SAVING] = {"Saving the last recording", "Letzte Aufnahme wird gespeichert",
                       "Αποθήκευση τελευταίας εγγραφής", "Сохранение последней записи", "最後の録画を保存中",
                       "마지막 녹화 저장 중", "正在保存最后的录像"},
};
/* clang-format on */

static int chosen;

const char *phrase_in(int language, enum phrase which) {
  return phrases[which][language];
}

const char *phrase(enum phrase which) {
  return phrase_in(chosen, which);
}

int chosen_language(void) {
  return chosen;
}

void choose_language(int language) {
  chosen = language;
}

const char *language_code(void) {
  return codes[chosen];
}

int language_of_code(const char *code) {
  for (int i = 0; i < LANGUAGES; ++i)
    if (strcmp(codes[i], code) == 0)
      return i;
  return -1;
}
