#ifndef SCRIPTED_APP_INFO_H
#define SCRIPTED_APP_INFO_H

#include <string>

namespace TTMLTest {

// The scripted application and system information. The journal (services "app info" and "system info") shows
//     aul_app_get_pkgname_bypid(own, 255) = 0, "org.a.b"
//     system_info_get_custom_bool("a/b") = 0, 1
// Questions without an answer fail the test, and so does a buffer for the name that is not filled with zeros.
class ScriptedAppInfo
{
public:
    // The package name of this process, however often it is asked for, or the failure to tell it.
    static void SetPackage(const std::string& name);
    static void SetPackageFailure(int result);

    static void SetFeature(const std::string& key, bool value);
    static void SetFeatureFailure(const std::string& key, int result);

    static void Reset();
};

} // namespace TTMLTest

#endif
