#pragma once

#include "qel/framework/QelSysApp.h"

/// An application object that drops every message: benchmarks print only their figures and fuzz
/// targets stay quiet. Header-only so that every benchmark and fuzz program can register one.
class QelSilentApp : public QelSysApp
{
public:
    QelSilentApp() : QelSysApp(this) {}
    void PrintToConsole(const char*, ...) const override {}
};
