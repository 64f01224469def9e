#include "phrases.h"

#include <string.h>

static const struct language {
  const char *code;
  const char *phrases[PHRASES];
} languages[LANGUAGES] = {
    {"en",
     {"English", "Have a good trip", "Menu", "Video", "Playback", "Sensor", "Parking", "Card", "Settings",
      "Theme", "Power off", "Language", "Journey", "Zurich"}},
    {"de",
     {"Deutsch", "Gute Fahrt", "Menü", "Video", "Wiedergabe", "Sensor", "Parken", "Karte", "Einstellungen",
      "Farbe", "Ausschalten", "Sprache", "Reise", "Zürich"}},
    {"ja",
     {"日本語", "よい旅を", "メニュー", "ビデオ", "再生", "センサー", "駐車", "カード", "設定", "テーマ",
      "電源オフ", "言語", "旅程", "チューリッヒ"}},
    {"el",
     {"Ελληνικά", "Καλό ταξίδι", "Μενού", "Βίντεο", "Προβολή", "Αισθητήρας", "Στάθμευση", "Κάρτα",
      "Ρυθμίσεις", "Χρώμα", "Κλείσιμο", "Γλώσσα", "Ταξίδι", "Ζυρίχη"}},
    {"ko",
     {"한국어", "즐거운 여행 되세요", "메뉴", "비디오", "재생", "센서", "주차", "카드", "설정", "테마",
      "전원 끄기", "언어", "여정", "취리히"}},
    {"ru",
     {"Русский", "Счастливого пути", "Меню", "Видео", "Просмотр", "Датчик", "Парковка", "Карта", "Настройки",
      "Цвет", "Выключить", "Язык", "Поездка", "Цюрих"}},
    {"zh",
     {"中文", "一路平安", "菜单", "视频", "回放", "传感器", "停车", "存储卡", "设置", "主题", "关机", "语言",
      "行程", "苏黎世"}},
};

static int chosen;

const char *phrase_in(int language, enum phrase which) {
  return languages[language].phrases[which];
}

const char *phrase(enum phrase which) {
  return phrase_in(chosen, which);
}

int chosen_language(void) {
  return chosen;
}

int choose_language(const char *code) {
  for (int i = 0; i < LANGUAGES; ++i)
    if (strcmp(languages[i].code, code) == 0)
      return chosen = i, 0;
  return -1;
}

void next_language(void) {
  chosen = (chosen + 1) % LANGUAGES;
}
