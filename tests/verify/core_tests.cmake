# The verification core: contexts, loading, signatures, path validation, CRL bundles.
add_library(verify_test_support STATIC bent_messages.cpp faulty_callbacks.cpp verify_context.cpp)
target_link_libraries(verify_test_support PUBLIC lumo lumo_platform fwvet_test_support fwvet_failing_allocator)

foreach(room IN ITEMS lumo_ctx lumo_load lumo_pem cms_verify cms_signer cms_quick cms_timestamp lumo_pki_store lumo_pki
    lumo_revocation lumo_crl_bundle lumo_crl_compare attacks attacks_encoding allocation_failures)
  fwvet_add_test(NAME ${room}_test SOURCES ${room}_test.cpp LIBS verify_test_support)
endforeach()
