#include <brelldata/core/Config.h>

#include "core/Process.h"

#include <brelldata/core/Attribute.h>

#include <cstring>

namespace {

CStandardAttribute& Store()
{
    return brell::Process().configuration;
}

// Also refuses values too short for T, which SetConfig may have stored.
template <class T>
int QueryTyped(const char* name, int type, T& value)
{
    int storedSize = 0;
    int storedType = 0;
    void* data = Store().QueryAttribute(name, &storedSize, &storedType);
    if (data == nullptr || storedType != type || storedSize < static_cast<int>(sizeof(T))) return 0;
    std::memcpy(&value, data, sizeof(T));
    return 1;
}

void* QueryBytes(const char* name, int type, int* size)
{
    int storedSize = 0;
    int storedType = 0;
    void* data = Store().QueryAttribute(name, &storedSize, &storedType);
    if (data == nullptr || storedType != type) return nullptr;
    if (size != nullptr) *size = storedSize;
    return data;
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
    return QueryTyped(name, VALUE_INT, value);
}

int QueryConfigFloat(const char* name, float& value)
{
    return QueryTyped(name, VALUE_FLOAT, value);
}

int QueryConfigBool(const char* name, int& value)
{
    return QueryTyped(name, VALUE_BOOL, value);
}

int QueryConfigDouble(const char* name, double& value)
{
    return QueryTyped(name, VALUE_DOUBLE, value);
}

void* QueryConfigStruct(const char* name, int* size)
{
    return QueryBytes(name, VALUE_STRUCT, size);
}

const char* QueryConfigString(const char* name, int* size)
{
    return static_cast<const char*>(QueryBytes(name, VALUE_STRING, size));
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
