// Engine settings: each key of the table read from the INI file in its order.
#include "front/front.h"
#include "ini/ini_reader.h"

// The order matters: when the log is wanted but cannot be opened, the load stops there and the
// book and time settings keep the values they had.
void load_settings(const char* file_name) {
    file_name = settings_path(file_name); // a package's own when the working folder has none
    for (std::size_t i = 0; i < SettingCount; ++i) {
        const SettingKey& key = SettingKeys[i];
        if (key.kind == TextSetting) {
            char text[SettingTextSize];
            ini_read_string(key.section, key.key, key.text, text, sizeof text, file_name);
            set_setting(key, text);
        } else if (key.kind == FlagSetting) {
            set_setting(key, ini_read_bool(key.section, key.key, key.fallback, file_name));
        } else {
            // A value that is no number reads as 0, and so falls back too when 0 is out of range.
            set_setting(key, ini_read_long(key.section, key.key, key.fallback, file_name));
        }
        if (key.number == &LogGame && !open_game_log()) return;
    }
}
