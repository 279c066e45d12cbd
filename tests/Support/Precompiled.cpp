// The one source of kora_test_pch, whose precompiled headers all test programs share.
