// Trustees, access entries and the kinds of securable objects.
#pragma once

#include <winnt.h>

enum SE_OBJECT_TYPE { SE_FILE_OBJECT = 1 };
enum MULTIPLE_TRUSTEE_OPERATION { NO_MULTIPLE_TRUSTEE };
enum TRUSTEE_FORM { TRUSTEE_IS_SID };
enum TRUSTEE_TYPE { TRUSTEE_IS_UNKNOWN, TRUSTEE_IS_USER };
enum ACCESS_MODE { SET_ACCESS = 2 };

struct TRUSTEE_W {
    TRUSTEE_W* pMultipleTrustee;
    MULTIPLE_TRUSTEE_OPERATION MultipleTrusteeOperation;
    TRUSTEE_FORM TrusteeForm;
    TRUSTEE_TYPE TrusteeType;
    LPWSTR ptstrName;  // the SID if the form is TRUSTEE_IS_SID
};

struct EXPLICIT_ACCESS_W {
    DWORD grfAccessPermissions;
    ACCESS_MODE grfAccessMode;
    DWORD grfInheritance;
    TRUSTEE_W Trustee;
};
using EXPLICIT_ACCESSW = EXPLICIT_ACCESS_W;
using PEXPLICIT_ACCESS_W = EXPLICIT_ACCESS_W*;
