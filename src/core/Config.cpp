#include <brelldata/core/Config.h>

#include "core/ConfigStore.h"

#include <brelldata/core/Attribute.h>

#include <cstring>

namespace {

CStandardAttribute& Store()
{
    return brell::ConfigurationStore();
}

template <class T>
void SetTyped(const char* name, T value, int type)
{
    Store().SetAttribute(name, &value, sizeof value, type);
}

}  // namespace

void* QueryConfig(const char* name, int* size, int* type)
{
    return Store().QueryAttribute(name, size, type);
}

int QueryConfigInt(const char* name, int& value)
{
    return Store().QueryTyped(name, VALUE_INT, &value, sizeof value);
}

int QueryConfigFloat(const char* name, float& value)
{
    return Store().QueryTyped(name, VALUE_FLOAT, &value, sizeof value);
}

int QueryConfigBool(const char* name, int& value)
{
    return Store().QueryTyped(name, VALUE_BOOL, &value, sizeof value);
}

int QueryConfigDouble(const char* name, double& value)
{
    return Store().QueryTyped(name, VALUE_DOUBLE, &value, sizeof value);
}

void* QueryConfigStruct(const char* name, int* size)
{
    return Store().QueryTypedBytes(name, VALUE_STRUCT, size);
}

const char* QueryConfigString(const char* name, int* size)
{
    return static_cast<const char*>(Store().QueryTypedBytes(name, VALUE_STRING, size));
}

int SetConfig(const char* name, void* data, int size, int type)
{
    return Store().SetAttribute(name, data, size, type);
}

void SetConfigInt(const char* name, int value)
{
    SetTyped(name, value, VALUE_INT);
}

void SetConfigFloat(const char* name, float value)
{
    SetTyped(name, value, VALUE_FLOAT);
}

void SetConfigBool(const char* name, int value)
{
    SetTyped(name, value, VALUE_BOOL);
}

void SetConfigDouble(const char* name, double value)
{
    SetTyped(name, value, VALUE_DOUBLE);
}

void SetConfigStruct(const char* name, void* data, int size)
{
    Store().SetAttribute(name, data, size, VALUE_STRUCT);
}

void SetConfigString(const char* name, const char* text)
{
    if (text == nullptr) return;
    Store().SetAttribute(name, const_cast<char*>(text), static_cast<int>(std::strlen(text) + 1), VALUE_STRING);
}

void DelConfig(const char* name)
{
    Store().DelAttribute(name);
}

int ConfigNumber()
{
    return Store().AttributeNumber();
}

std::string ConfigName(int index)
{
    return Store().AttributeName(index);
}
