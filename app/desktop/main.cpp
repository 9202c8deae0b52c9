#include "app/desktop/DrApp.h"

wxIMPLEMENT_APP(Orvane::DrApp);
