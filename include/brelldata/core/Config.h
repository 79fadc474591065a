#pragma once

#include <brelldata/Export.h>
#include <brelldata/core/Attribute.h>  // the VALUE_* type codes

#include <string>

// The process-wide configuration store: named, typed settings shared by every
// caller, kept in memory from library load to unload. Unlike node attributes,
// strings are kept under VALUE_STRING and byte blocks under VALUE_STRUCT, so
// each is found only by its own query. Setting a name again replaces its
// value, size and type. Returned pointers point into the store and stay valid
// until that setting is set again or deleted.

// The value's bytes with its size and type written through the non-null
// pointers; for a missing name null, with 0 written through both.
BRELL_API void* QueryConfig(const char* name, int* size, int* type);
// The typed queries give 1 and the value when the setting holds that type,
// else 0 with the value unchanged.
BRELL_API int QueryConfigInt(const char* name, int& value);
BRELL_API int QueryConfigFloat(const char* name, float& value);
BRELL_API int QueryConfigBool(const char* name, int& value);
BRELL_API int QueryConfigDouble(const char* name, double& value);
// A VALUE_STRUCT setting's bytes with its size written through a non-null
// pointer; null with nothing written for a missing name or another type.
BRELL_API void* QueryConfigStruct(const char* name, int* size);
// The same for a VALUE_STRING setting.
BRELL_API const char* QueryConfigString(const char* name, int* size);

// Stores a copy of size bytes: 1, or 0 with any older value kept when size is
// below 1 or type is 0.
BRELL_API int SetConfig(const char* name, void* data, int size, int type);
BRELL_API void SetConfigInt(const char* name, int value);
BRELL_API void SetConfigFloat(const char* name, float value);
BRELL_API void SetConfigBool(const char* name, int value);
BRELL_API void SetConfigDouble(const char* name, double value);
BRELL_API void SetConfigStruct(const char* name, void* data, int size);
// Stores the text with its zero byte; a null text changes nothing.
BRELL_API void SetConfigString(const char* name, const char* text);
// Removes the setting; nothing when there is none.
BRELL_API void DelConfig(const char* name);

BRELL_API int ConfigNumber();
// The name at index in name order; an index of 0 or below gives the first,
// one at or beyond ConfigNumber() the empty string.
BRELL_API std::string ConfigName(int index);
