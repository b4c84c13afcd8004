// The part of Android's system properties that the library uses, as it is declared there.

#ifndef LUMEN_ANDROID_SYSTEM_PROPERTIES_H
#define LUMEN_ANDROID_SYSTEM_PROPERTIES_H

#define PROP_VALUE_MAX 92

extern "C" int __system_property_get(const char* name, char* value);

#endif  // LUMEN_ANDROID_SYSTEM_PROPERTIES_H
