#pragma once

#include <QString>

// The addresses outside the program: three bases without a trailing slash, and the pages that the
// help page opens.
struct Endpoints
{
    QString openApi;
    QString backend;
    QString web;
    QString helpTv;
    QString helpPc;
    QString helpReport;
};

// Built-in defaults, overridden by the settings file's keys "openApiBase", "backendBase",
// "webBase", "helpTvUrl", "helpPcUrl", "helpReportUrl", overridden by the environment's
// MORAVU_OPENAPI_BASE, MORAVU_BACKEND_BASE and MORAVU_WEB_BASE. The help pages lie below the web
// base unless they are set. An override that is no http(s) address is ignored, with a warning the
// first time. The file is read again when it has changed.
Endpoints endpoints();
