# Who the product is; settings.dat is generated from these, and no name is compiled into the program.
set(FOURFOLD_COMPANY_NAME "Fourfold" CACHE STRING "Company name")
set(FOURFOLD_PRODUCT_NAME "Video Downloader" CACHE STRING "Product name")
set(FOURFOLD_BUILD_NUMBER "1" CACHE STRING "Build number")
set(FOURFOLD_COPYRIGHT "Copyright © 2026 Fourfold. All rights reserved." CACHE STRING "Copyright line")
set(FOURFOLD_COMPANY_URL "https://fourfold.example" CACHE STRING "Home page of the company")
set(FOURFOLD_PRODUCT_URL "https://fourfold.example/video-downloader" CACHE STRING "Product page")
set(FOURFOLD_HELP_URL "https://fourfold.example/video-downloader/help" CACHE STRING "Online help")
set(FOURFOLD_SUPPORT_EMAIL "support@fourfold.example" CACHE STRING "Support address")
set(FOURFOLD_SALES_EMAIL "sales@fourfold.example" CACHE STRING "Sales address")
set(FOURFOLD_UPDATE_ADDRESS "https://update.fourfold.example/check?ver=%1" CACHE STRING
    "Update service; %1 becomes the digits of the version")
set(FOURFOLD_ICLOUD_PRIVACY "https://fourfold.example/privacy" CACHE STRING "Privacy page")
