#include "proc/Filter.h"

Filter::Filter(int typeCode, QObject *parent) : QObject(parent), m_typeCode(typeCode) {}
