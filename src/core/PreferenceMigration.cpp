#include "core/PreferenceMigration.h"

namespace tallowfern {

using namespace Qt::StringLiterals;

void migrateLegacyPreferences(PreferenceStore& store)
{
    const QString flag = u"didMigrateProductIdentityToTallowfern"_s;
    if (store.get<bool>(flag).value_or(false))
        return;
    if (const auto domain = store.persistentDomain(u"com.quorvane.plus"_s)) {
        for (auto entry = domain->cbegin(); entry != domain->cend(); ++entry)
            store.set(entry.key(), entry.value());
    }
    store.set(flag, true);
}

} // namespace tallowfern
