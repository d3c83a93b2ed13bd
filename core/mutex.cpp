// A recursive lock for clients.

#include "vl/core/mutex.h"

#include <new>

V_Mutex::V_Mutex() : m_hMutex(new (std::nothrow) std::recursive_mutex) {}

V_Mutex::~V_Mutex() { delete m_hMutex; }
