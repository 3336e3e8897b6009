# What a deployment sets. This is the only place where these values stand; the defaults lie on a
# reserved domain (RFC 2606), so that an unconfigured build can send nothing to anybody.
set(TARQ_WORKER_BASE_URL "https://api.tarq.example" CACHE STRING
    "HTTPS origin of the worker, without a trailing slash")
set(TARQ_WEBSITE_URL "https://tarq.example" CACHE STRING
    "Address of the project's website, without a trailing slash")
set(TARQ_WEBSITE_DOMAIN "tarq.example" CACHE STRING
    "The website's domain as it is shown to users")
set(TARQ_LEGAL_LINE "© 2026 The Tarq authors" CACHE STRING
    "Legal line of the about window")

configure_file(${CMAKE_CURRENT_LIST_DIR}/Deployment.h.in
    ${CMAKE_BINARY_DIR}/generated/Deployment.h @ONLY)

add_library(tarq_deployment INTERFACE)
target_include_directories(tarq_deployment INTERFACE ${CMAKE_BINARY_DIR}/generated)
