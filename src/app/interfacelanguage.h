#pragma once

class QSettings;
class QString;
class QTranslator;

// The language of the interface: the application store's "ValueL". It is fixed at start-up; what
// is chosen later holds from the next start.
namespace InterfaceLanguage {

enum class Choice : int { System = 0, Chinese = 1, English = 2 };

// True for the choice Chinese, and for System when the system's locale is "zh_CN". Any other
// number is English, the language of the sources.
[[nodiscard]] bool wantsChinese(int choice, const QString& systemLocale);
// Loads the catalogue that the store asks for. That of English, the language of the sources, holds
// nothing but the forms for one and for many.
void load(QTranslator& translator, const QSettings& store);
// The same for the texts of the library: OK, Cancel, the file dialog. A system without its
// catalogue shows them in English.
void loadLibraryTexts(QTranslator& translator, const QSettings& store);
// What the store asks for; numbers without a meaning are English.
[[nodiscard]] Choice stored(const QSettings& store);
void choose(QSettings& store, Choice choice);

} // namespace InterfaceLanguage
