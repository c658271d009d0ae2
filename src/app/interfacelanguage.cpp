#include "app/interfacelanguage.h"

#include <QDebug>
#include <QLibraryInfo>
#include <QLocale>
#include <QSettings>
#include <QTranslator>

using namespace Qt::Literals::StringLiterals;

namespace InterfaceLanguage {

namespace {

constexpr auto kLanguageKey = "ValueL"_L1;

bool storeWantsChinese(const QSettings& store)
{
    const int choice = store.value(kLanguageKey, static_cast<int>(Choice::System)).toInt();
    return wantsChinese(choice, QLocale::system().name());
}

} // namespace

bool wantsChinese(int choice, const QString& systemLocale)
{
    return choice == static_cast<int>(Choice::Chinese)
           || (choice == static_cast<int>(Choice::System) && systemLocale == "zh_CN"_L1);
}

void load(QTranslator& translator, const QSettings& store)
{
    const char* const language = storeWantsChinese(store) ? "zh_CN" : "en";
    if (!translator.load(":/i18n/"_L1 + QLatin1StringView(language)))
        qWarning("load language %s failed!", language);
}

void loadLibraryTexts(QTranslator& translator, const QSettings& store)
{
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    if (storeWantsChinese(store) && !translator.load(u"qtbase_zh_CN"_s, folder))
        qDebug() << "no Chinese texts of the library in" << folder;
}

Choice stored(const QSettings& store)
{
    const int choice = store.value(kLanguageKey, static_cast<int>(Choice::System)).toInt();
    return choice == 0 || choice == 1 ? static_cast<Choice>(choice) : Choice::English;
}

void choose(QSettings& store, Choice choice)
{
    store.setValue(kLanguageKey, static_cast<int>(choice));
}

} // namespace InterfaceLanguage
